#import <CryptoTokenKit/TKTokenKeychainItem.h>

#import "platform/src/Security/SecCertificatePrivate.h"

@implementation TKTokenKeychainKey

@synthesize keyType = m_keyType;
@synthesize applicationTag = m_applicationTag;
@synthesize keySizeInBits = m_keySizeInBits;
@synthesize publicKeyData = m_publicKeyData;
@synthesize publicKeyHash = m_publicKeyHash;
@synthesize canDecrypt = m_canDecrypt;
@synthesize canSign = m_canSign;
@synthesize canPerformKeyExchange = m_canPerformKeyExchange;
@synthesize suitableForLogin = m_suitableForLogin;

- (instancetype)initWithCertificate:(SecCertificateRef)certificateRef objectID:(TKTokenObjectID)objectID {
  self = [super initWithObjectID:objectID];
  if (!self || !certificateRef) {
    return self;
  }
  QELCertificate *certificate = (QELCertificate *)certificateRef;
  if (![certificate keyType]) {
    [self release];
    return nil;
  }
  m_label = [[certificate subjectSummary] copy];
  m_keyType = [[certificate keyType] copy];
  m_keySizeInBits = [certificate keySizeInBits];
  m_publicKeyData = [[certificate publicKeyData] copy];
  m_publicKeyHash = [[certificate publicKeyHash] copy];
  return self;
}

- (void)dealloc {
  [m_keyType release];
  [m_applicationTag release];
  [m_publicKeyData release];
  [m_publicKeyHash release];
  [super dealloc];
}

@end
