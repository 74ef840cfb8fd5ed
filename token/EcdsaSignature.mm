#import "token/EcdsaSignature.h"

#import <Security/SecAsn1Coder.h>
#import <Security/Security.h>

#include <cstddef>

#include "util/UniqueHandle.h"

namespace {

struct RawSignature {
  SecAsn1Item r;
  SecAsn1Item s;
};

constexpr SecAsn1Template kSignatureTemplate[] = {
    {SEC_ASN1_SEQUENCE, 0, nullptr, sizeof(RawSignature)},
    {SEC_ASN1_INTEGER, offsetof(RawSignature, r), nullptr, 0},
    {SEC_ASN1_INTEGER, offsetof(RawSignature, s), nullptr, 0},
    {0, 0, nullptr, 0},
};

struct CoderTraits {
  using Handle = SecAsn1CoderRef;
  static Handle Invalid() { return nullptr; }
  static void Close(Handle coder) { SecAsn1CoderRelease(coder); }
};
using ScopedCoder = UniqueHandle<CoderTraits>;

}  // namespace

NSMutableData *DerFromRawEcdsaSignature(NSData *signature) {
  const size_t half = [signature length] / 2;
  auto *bytes = static_cast<uint8_t *>(const_cast<void *>([signature bytes]));
  const RawSignature source = {{half, bytes}, {half, bytes + half}};

  SecAsn1CoderRef created = nullptr;
  if (SecAsn1CoderCreate(&created) != errSecSuccess) return nil;
  const ScopedCoder coder(created);
  SecAsn1Item encoded = {0, nullptr};
  if (SecAsn1EncodeItem(coder.Get(), &source, kSignatureTemplate, &encoded) != errSecSuccess) return nil;
  return [NSMutableData dataWithBytes:encoded.Data length:encoded.Length];
}
