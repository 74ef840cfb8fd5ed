// The DER form of a raw ECDSA signature, read back by OpenSSL.

#import <Foundation/Foundation.h>
#include <openssl/ecdsa.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#import "token/SignatureForms.h"

namespace {

using Number = std::unique_ptr<BIGNUM, decltype(&BN_free)>;
using Signature = std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)>;

bool IsNumber(const BIGNUM *number, const uint8_t *bytes, size_t length) {
  const Number expected(BN_bin2bn(bytes, static_cast<int>(length), nullptr), &BN_free);
  return BN_cmp(number, expected.get()) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  @autoreleasepool {
    NSData *der = DerFromRawEcdsaSignature([NSData dataWithBytes:data length:size]);
    const size_t half = size / 2;
    if (half == 0) return 0;  // the coder decides what no number at all is
    const auto *next = static_cast<const uint8_t *>([der bytes]);
    const Signature read(d2i_ECDSA_SIG(nullptr, &next, static_cast<long>([der length])), &ECDSA_SIG_free);
    if (!read || next != static_cast<const uint8_t *>([der bytes]) + [der length]) std::abort();
    if (!IsNumber(ECDSA_SIG_get0_r(read.get()), data, half)) std::abort();
    if (!IsNumber(ECDSA_SIG_get0_s(read.get()), data + half, half)) std::abort();
  }
  return 0;
}
