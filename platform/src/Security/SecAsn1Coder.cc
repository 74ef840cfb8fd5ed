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

/// An unsigned INTEGER: without leading zero bytes, with one in front where the top bit would be set.
struct UnsignedInteger {
  explicit UnsignedInteger(const SecAsn1Item& item)
      : m_last(item.Data + item.Length),
        m_first(item.Length == 0
                    ? m_last
                    : std::find_if<const uint8_t*>(item.Data, m_last - 1, [](uint8_t byte) { return byte != 0; })),
        m_zeroInFront(m_first != m_last && (*m_first & 0x80) != 0) {}

  size_t Length() const { return static_cast<size_t>(m_last - m_first) + (m_zeroInFront ? 1 : 0); }

  void AppendTo(Bytes& out) const {
    if (m_zeroInFront) {
      out.push_back(0);
    }
    out.insert(out.end(), m_first, m_last);
  }

 private:
  const uint8_t* m_last;
  const uint8_t* m_first;
  bool m_zeroInFront;
};

size_t BytesOfLength(size_t length) {
  size_t bytes = 1;
  for (size_t rest = length; length >= 0x80 && rest > 0; rest >>= 8) {
    ++bytes;
  }
  return bytes;
}

void AppendHeader(Bytes& out, uint8_t tag, size_t length) {
  out.push_back(tag);
  const size_t more = BytesOfLength(length) - 1;
  out.push_back(static_cast<uint8_t>(more == 0 ? length : 0x80 | more));
  for (size_t shift = 8 * more; shift > 0; shift -= 8) {
    out.push_back(static_cast<uint8_t>(length >> (shift - 8)));
  }
}

SecAsn1Item ItemOf(const uint8_t* group, const SecAsn1Template& entry) {
  SecAsn1Item item;
  std::memcpy(&item, group + entry.offset, sizeof item);
  return item;
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
  const uint8_t* const group = static_cast<const uint8_t*>(src) + templates->offset;
  size_t length = 0;
  for (const SecAsn1Template* entry = templates + 1; entry->kind != 0; ++entry) {
    if (entry->kind != SEC_ASN1_INTEGER || entry->sub != nullptr) {
      return errSecParam;
    }
    const SecAsn1Item item = ItemOf(group, *entry);
    if (item.Data == nullptr && item.Length != 0) {
      return errSecParam;
    }
    const size_t integer = UnsignedInteger(item).Length();
    length += 1 + BytesOfLength(integer) + integer;
  }
  constexpr uint8_t sequence = 0x20 | SEC_ASN1_SEQUENCE;
  Bytes& encoded = coder->encoded.emplace_back();
  encoded.reserve(1 + BytesOfLength(length) + length);
  AppendHeader(encoded, sequence, length);
  for (const SecAsn1Template* entry = templates + 1; entry->kind != 0; ++entry) {
    const UnsignedInteger integer(ItemOf(group, *entry));
    AppendHeader(encoded, SEC_ASN1_INTEGER, integer.Length());
    integer.AppendTo(encoded);
  }
  *dest = {encoded.size(), encoded.data()};
  return errSecSuccess;
}
