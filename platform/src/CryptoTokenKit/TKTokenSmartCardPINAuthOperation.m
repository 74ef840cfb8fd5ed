#import <CryptoTokenKit/TKSmartCardToken.h>

@implementation TKTokenSmartCardPINAuthOperation

@synthesize PINFormat = m_PINFormat;
@synthesize APDUTemplate = m_APDUTemplate;
@synthesize PINByteOffset = m_PINByteOffset;
@synthesize smartCard = m_smartCard;
@synthesize PIN = m_PIN;

- (instancetype)init {
  self = [super init];
  if (self) {
    m_PINFormat = [[TKSmartCardPINFormat alloc] init];
  }
  return self;
}

- (void)dealloc {
  [m_PINFormat release];
  [m_APDUTemplate release];
  [m_smartCard release];
  [m_PIN release];
  [super dealloc];
}

@end
