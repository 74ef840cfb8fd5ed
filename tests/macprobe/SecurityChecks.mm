#import <CryptoTokenKit/CryptoTokenKit.h>
#import <Security/SecAsn1Coder.h>
#import <Security/Security.h>

#include <cstddef>

#include "tests/macprobe/Check.h"
#import "tests/macprobe/Words.h"

namespace probe {

namespace {

struct RawSignature {
  SecAsn1Item r;
  SecAsn1Item s;
};

const SecAsn1Template kSignature[] = {
    {SEC_ASN1_SEQUENCE, 0, nullptr, sizeof(RawSignature)},
    {SEC_ASN1_INTEGER, offsetof(RawSignature, r), nullptr, 0},
    {SEC_ASN1_INTEGER, offsetof(RawSignature, s), nullptr, 0},
    {0, 0, nullptr, 0},
};

/// The signature of two numbers of `length` bytes each, encoded.
std::string Encoded(const char *bytes, size_t length) {
  uint8_t *data = reinterpret_cast<uint8_t *>(const_cast<char *>(bytes));
  const RawSignature signature{{length, data}, {length, data + length}};
  SecAsn1CoderRef coder = nullptr;
  if (SecAsn1CoderCreate(&coder) != 0) return "no coder";
  SecAsn1Item encoded{0, nullptr};
  const OSStatus status = SecAsn1EncodeItem(coder, &signature, kSignature, &encoded);
  const std::string text =
      status == 0 ? Hex([NSData dataWithBytes:encoded.Data length:encoded.Length]) : "status " + std::to_string(status);
  SecAsn1CoderRelease(coder);
  return text;
}

std::string Named(CFStringRef constant) {
  return Words((NSString *)constant);
}

}  // namespace

std::vector<Check> SecurityChecks() {
  return {
      {"security.error-domain", "CryptoTokenKit", nullptr, "nothing: the constant is used",
       +[] { return Words(TKErrorDomain); }},
      {"security.key-type-rsa", "42", nullptr, "nothing: the constant is used",
       +[] { return Named(kSecAttrKeyTypeRSA); }},
      {"security.key-type-ec", "73", nullptr, "nothing: the constant is used",
       +[] { return Named(kSecAttrKeyTypeECSECPrimeRandom); }},
      {"security.both-ec-types-are-one", "yes", nullptr, "keys of the other type would be served as well",
       +[] {
         return YesOrNo([(NSString *)kSecAttrKeyTypeEC isEqualToString:(NSString *)kSecAttrKeyTypeECSECPrimeRandom]);
       }},
      {"security.pss-name", "algid:sign:RSA:digest-PSS:SHA256:SHA256:32", nullptr, "nothing: the constant is used",
       +[] { return Named(kSecKeyAlgorithmRSASignatureDigestPSSSHA256); }},
      {"security.ecdh-name", "algid:keyexchange:ECDH:KDFX963:SHA1", nullptr, "nothing: the constant is used",
       +[] { return Named(kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1); }},
      {"security.bad-certificate", "refused", nullptr, "an unreadable certificate would be published",
       +[] {
         return std::string(
             SecCertificateCreateWithData(NULL, (CFDataRef)[NSData dataWithBytes:"0\x03x" length:3]) == NULL ? "refused"
                                                                                                             : "taken");
       }},
      {"asn1.high-bit-gets-a-zero", "30070202008002017f", nullptr, "ECDSA signatures would not verify",
       +[] { return Encoded("\x80\x7f", 1); }},
      {"asn1.leading-zeros-go", "3006020101020102", nullptr, "ECDSA signatures would not verify",
       +[] { return Encoded("\0\x01\0\x02", 2); }},
      {"asn1.zero-keeps-a-byte", "3006020100020100", nullptr, "nothing: no signature has such numbers",
       +[] { return Encoded("\0\0\0\0", 2); }},
      {"asn1.nothing-is-encoded", "300402000200", nullptr, "an empty answer of a card would be reported otherwise",
       +[] { return Encoded("", 0); }},
  };
}

}  // namespace probe
