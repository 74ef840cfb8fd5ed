#import <CryptoTokenKit/TKTokenKeychainItem.h>

@implementation TKTokenKeychainCertificate

@synthesize data = m_data;

- (instancetype)initWithCertificate:(SecCertificateRef)certificateRef objectID:(TKTokenObjectID)objectID {
  self = [super initWithObjectID:objectID];
  if (self) {
    m_data = (NSData *)SecCertificateCopyData(certificateRef);
    m_label = (NSString *)SecCertificateCopySubjectSummary(certificateRef);
    m_constraints = [@{@(TKTokenOperationReadData) : [NSNumber numberWithBool:YES]} copy];
  }
  return self;
}

- (void)dealloc {
  [m_data release];
  [super dealloc];
}

@end
