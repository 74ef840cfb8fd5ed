#import "token/SignatureForms.h"

#import <Security/SecAsn1Coder.h>
#import <Security/Security.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "util/UniqueHandle.h"

namespace {

struct PssRow {
  const SecKeyAlgorithm &algorithm;
  CK_RSA_PKCS_PSS_PARAMS parameter;  // hash, mask generation, salt length: always the digest's
};

const PssRow kPssRows[] = {
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA256, {CKM_SHA256, CKG_MGF1_SHA256, 32}},
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA384, {CKM_SHA384, CKG_MGF1_SHA384, 48}},
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA512, {CKM_SHA512, CKG_MGF1_SHA512, 64}},
};

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

/// Returns the first byte that is not FF, or `end`. Eight at a time: of a block most bytes are fill.
const uint8_t *AfterFill(const uint8_t *byte, const uint8_t *end) {
  constexpr uint64_t kFill = ~uint64_t{0};
  while (end - byte >= 8 && std::memcmp(byte, &kFill, sizeof kFill) == 0) byte += sizeof kFill;
  return std::find_if(byte, end, [](uint8_t candidate) { return candidate != 0xFF; });
}

}  // namespace

SigningMechanism::SigningMechanism(TKTokenKeyAlgorithm *algorithm) {
  if ([algorithm isAlgorithm:kSecKeyAlgorithmRSASignatureRaw]) {
    m_mechanism.mechanism = CKM_RSA_PKCS;
    return;
  }
  for (const PssRow &row : kPssRows) {
    if (![algorithm isAlgorithm:row.algorithm]) continue;
    m_pss = row.parameter;
    m_mechanism = {CKM_RSA_PKCS_PSS, &m_pss, sizeof m_pss};
    return;
  }
  m_mechanism.mechanism = CKM_ECDSA;
}

int64_t Pkcs1PayloadOffset(const uint8_t *block, size_t length) {
  if (length < 1 || block[0] != 0x00) return -1;
  if (length < 2 || block[1] != 0x01) return -2;
  const uint8_t *const end = block + length;
  const uint8_t *const padded = AfterFill(block + 2, end);
  if (padded == end) return -4;
  return *padded == 0x00 ? padded - block + 1 : -3;
}

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
