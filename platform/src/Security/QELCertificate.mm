#import <Security/SecItem.h>

#import "platform/src/Security/SecCertificatePrivate.h"
#include "platform/src/Security/X509Certificate.h"

namespace {

NSData *Copy(const std::vector<uint8_t> &bytes) {
  return [[NSData alloc] initWithBytes:bytes.data() length:bytes.size()];
}

NSString *Name(X509Certificate::KeyType type) {
  switch (type) {
    case X509Certificate::KeyType::RSA:
      return (NSString *)kSecAttrKeyTypeRSA;
    case X509Certificate::KeyType::EC:
      return (NSString *)kSecAttrKeyTypeECSECPrimeRandom;
    default:
      return nil;
  }
}

/// Nil for a date that the certificate does not tell properly.
NSNumber *SinceReferenceDate(const std::optional<int64_t> &secondsSince1970) {
  return secondsSince1970
             ? [[NSNumber alloc] initWithDouble:static_cast<double>(*secondsSince1970) - NSTimeIntervalSince1970]
             : nil;
}

}  // namespace

@implementation QELCertificate

@synthesize data = m_data;
@synthesize subjectSummary = m_subjectSummary;
@synthesize keyType = m_keyType;
@synthesize keySizeInBits = m_keySizeInBits;
@synthesize publicKeyData = m_publicKeyData;
@synthesize publicKeyHash = m_publicKeyHash;
@synthesize notBefore = m_notBefore;
@synthesize notAfter = m_notAfter;

- (instancetype)initWithData:(NSData *)data {
  self = [super init];
  if (!self) {
    return nil;
  }
  const auto facts = ParseX509(static_cast<const uint8_t *>([data bytes]), [data length]);
  if (!facts) {
    [self release];
    return nil;
  }
  m_data = [data copy];
  if (const auto &summary = facts->subjectSummary) {
    m_subjectSummary = [[NSString alloc] initWithBytes:summary->data()
                                                length:summary->size()
                                              encoding:NSUTF8StringEncoding];
  }
  m_keyType = Name(facts->keyType);
  m_keySizeInBits = facts->keySizeInBits;
  m_publicKeyData = Copy(facts->publicKey);
  m_publicKeyHash = Copy(facts->publicKeyHash);
  m_notBefore = SinceReferenceDate(facts->notBefore);
  m_notAfter = SinceReferenceDate(facts->notAfter);
  return self;
}

- (void)dealloc {
  [m_data release];
  [m_subjectSummary release];
  [m_publicKeyData release];
  [m_publicKeyHash release];
  [m_notBefore release];
  [m_notAfter release];
  [super dealloc];
}

@end
