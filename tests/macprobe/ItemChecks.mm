#import <CryptoTokenKit/CryptoTokenKit.h>

#include "tests/macprobe/Certificates.h"
#include "tests/macprobe/Check.h"
#import "tests/macprobe/Words.h"

namespace probe {

namespace {

NSString *const kIdentifier = @"probe";

SecCertificateRef Parsed(const char *base64) {
  NSString *text = [NSString stringWithUTF8String:base64];
  NSData *bytes = [[[NSData alloc] initWithBase64EncodedString:text options:0] autorelease];
  return SecCertificateCreateWithData(NULL, (CFDataRef)bytes);
}

TKTokenKeychainKey *KeyItem(const char *base64) {
  SecCertificateRef certificate = Parsed(base64);
  if (certificate == NULL) return nil;
  TKTokenKeychainKey *key = [[[TKTokenKeychainKey alloc] initWithCertificate:certificate
                                                                    objectID:kIdentifier] autorelease];
  CFRelease(certificate);
  return key;
}

TKTokenKeychainCertificate *CertificateItem(const char *base64) {
  SecCertificateRef certificate = Parsed(base64);
  TKTokenKeychainCertificate *item = [[[TKTokenKeychainCertificate alloc] initWithCertificate:certificate
                                                                                     objectID:kIdentifier] autorelease];
  CFRelease(certificate);
  return item;
}

std::string KeyTypeAndSize(const char *base64) {
  TKTokenKeychainKey *key = KeyItem(base64);
  return Words([NSString stringWithFormat:@"%@, %ld bits", [key keyType], static_cast<long>([key keySizeInBits])]);
}

std::string Capabilities() {
  TKTokenKeychainKey *key = KeyItem(kRsaCertificate);
  return "sign " + YesOrNo([key canSign]) + ", decrypt " + YesOrNo([key canDecrypt]) + ", agree " +
         YesOrNo([key canPerformKeyExchange]) + ", login " + YesOrNo([key isSuitableForLogin]);
}

std::string CertificateConstraints() {
  NSDictionary *constraints = [CertificateItem(kRsaCertificate) constraints];
  if ([constraints count] != 1) return Words(constraints);
  return "read " + Words([constraints objectForKey:@(TKTokenOperationReadData)]);
}

std::string IdentifierIsCopied() {
  NSMutableData *identifier = [NSMutableData dataWithBytes:"\x10\x01" length:2];
  TKTokenKeychainItem *item = [[[TKTokenKeychainItem alloc] initWithObjectID:identifier] autorelease];
  [identifier setLength:0];
  return YesOrNo([[item objectID] length] == 2);
}

}  // namespace

std::vector<Check> ItemChecks() {
  return {
      {"items.rsa-key", "42, 2048 bits", nullptr, "no RSA key would be offered for signing",
       +[] { return KeyTypeAndSize(kRsaCertificate); }},
      {"items.p256-key", "73, 256 bits", nullptr, "no EC key would be offered for signing",
       +[] { return KeyTypeAndSize(kP256Certificate); }},
      {"items.key-on-another-curve", "nil", nullptr, "keys on such curves would be published",
       +[] { return KeyItem(kP224Certificate) == nil ? std::string("nil") : KeyTypeAndSize(kP224Certificate); }},
      {"items.key-of-another-kind", "nil", nullptr, "keys that no operation serves would be published",
       +[] { return KeyItem(kEd25519Certificate) == nil ? std::string("nil") : KeyTypeAndSize(kEd25519Certificate); }},
      {"items.public-key-of-rsa", "270 bytes", nullptr, "nothing: the public key is left as the system derives it",
       +[] { return std::to_string([[KeyItem(kRsaCertificate) publicKeyData] length]) + " bytes"; }},
      {"items.public-key-of-ec", "65 bytes, 04", nullptr, "nothing: the public key is left as the system derives it",
       +[] {
         NSData *key = [KeyItem(kP256Certificate) publicKeyData];
         return std::to_string([key length]) + " bytes, " + Hex(key).substr(0, 2);
       }},
      {"items.hash-of-rsa-key", "e05823c5257f631db9fe192934390f294d4033fa", nullptr,
       "applications would not match key and certificate",
       +[] { return Hex([KeyItem(kRsaCertificate) publicKeyHash]); }},
      {"items.hash-of-ec-key", "21a16b6f831d5abf787d6068d6c1512749358a92", nullptr,
       "applications would not match key and certificate",
       +[] { return Hex([KeyItem(kP256Certificate) publicKeyHash]); }},
      {"items.application-tag", "nil", nullptr, "nothing: none is relied upon",
       +[] { return Words([KeyItem(kRsaCertificate) applicationTag]); }},
      {"items.label-of-a-key", "Probe RSA", nullptr,
       "items would be labelled without the name of the certificate's owner",
       +[] { return Words([KeyItem(kRsaCertificate) label]); }},
      {"items.label-of-a-certificate", "Probe RSA", nullptr,
       "items would be labelled without the name of the certificate's owner",
       +[] { return Words([CertificateItem(kRsaCertificate) label]); }},
      {"items.constraints-of-a-certificate", "read 1", nullptr, "certificates could not be read, or only after a login",
       CertificateConstraints},
      {"items.constraints-of-a-key", "nil", nullptr, "nothing: a key that can do anything gets its own",
       +[] { return Words([KeyItem(kRsaCertificate) constraints]); }},
      {"items.capabilities-of-a-key", "sign no, decrypt no, agree no, login no", nullptr, "nothing: all four are set",
       Capabilities},
      {"items.identifier-is-copied", "yes", nullptr, "identifiers of all items would be the last one's",
       IdentifierIsCopied},
  };
}

}  // namespace probe
