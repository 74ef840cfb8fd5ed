#include <Security/SecAsn1Coder.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <new>
#include <vector>

using Bytes = std::vector<uint8_t>;

struct SecAsn1Coder {
  std::list<Bytes> encoded;  ///< what the callers' items point at
};

namespace {

void AppendTagged(Bytes& out, uint8_t tag, const Bytes& content) {
  out.push_back(tag);
  if (content.size() < 0x80) {
    out.push_back(static_cast<uint8_t>(content.size()));
  } else {
    Bytes length;
    for (size_t rest = content.size(); rest > 0; rest >>= 8) {
      length.push_back(static_cast<uint8_t>(rest));
    }
    out.push_back(static_cast<uint8_t>(0x80 | length.size()));
    out.insert(out.end(), length.rbegin(), length.rend());
  }
  out.insert(out.end(), content.begin(), content.end());
}

Bytes UnsignedInteger(const SecAsn1Item& item) {
  if (item.Length == 0) {
    return {};
  }
  const uint8_t* const last = item.Data + item.Length - 1;
  const uint8_t* const first = std::find_if<const uint8_t*>(item.Data, last, [](uint8_t byte) { return byte != 0; });
  Bytes content;
  if (*first & 0x80) {
    content.push_back(0);
  }
  content.insert(content.end(), first, last + 1);
  return content;
}

}  // namespace

OSStatus SecAsn1CoderCreate(SecAsn1CoderRef* coder) {
  if (coder == nullptr) {
    return errSecParam;
  }
  *coder = new (std::nothrow) SecAsn1Coder;
  return *coder ? errSecSuccess : errSecAllocate;
}

OSStatus SecAsn1CoderRelease(SecAsn1CoderRef coder) {
  if (coder == nullptr) {
    return errSecParam;
  }
  delete coder;
  return errSecSuccess;
}

OSStatus SecAsn1EncodeItem(SecAsn1CoderRef coder, const void* src, const SecAsn1Template* templates,
                           SecAsn1Item* dest) {
  if (coder == nullptr || src == nullptr || templates == nullptr || dest == nullptr) {
    return errSecParam;
  }
  if (templates->kind != SEC_ASN1_SEQUENCE || templates->sub != nullptr) {
    return errSecParam;
  }
  Bytes content;
  for (const SecAsn1Template* entry = templates + 1; entry->kind != 0; ++entry) {
    if (entry->kind != SEC_ASN1_INTEGER || entry->sub != nullptr) {
      return errSecParam;
    }
    SecAsn1Item item;
    std::memcpy(&item, static_cast<const uint8_t*>(src) + entry->offset, sizeof item);
    if (item.Data == nullptr && item.Length != 0) {
      return errSecParam;
    }
    AppendTagged(content, SEC_ASN1_INTEGER, UnsignedInteger(item));
  }
  constexpr uint8_t sequence = 0x20 | SEC_ASN1_SEQUENCE;
  Bytes& encoded = coder->encoded.emplace_back();
  AppendTagged(encoded, sequence, content);
  *dest = {encoded.size(), encoded.data()};
  return errSecSuccess;
}
