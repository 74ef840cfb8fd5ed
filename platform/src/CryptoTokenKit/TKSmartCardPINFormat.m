#import <CryptoTokenKit/TKSmartCard.h>

@implementation TKSmartCardPINFormat

@synthesize charset = m_charset;
@synthesize encoding = m_encoding;
@synthesize minPINLength = m_minPINLength;
@synthesize maxPINLength = m_maxPINLength;
@synthesize PINBlockByteLength = m_PINBlockByteLength;
@synthesize PINJustification = m_PINJustification;
@synthesize PINBitOffset = m_PINBitOffset;
@synthesize PINLengthBitOffset = m_PINLengthBitOffset;
@synthesize PINLengthBitSize = m_PINLengthBitSize;

- (instancetype)init {
  self = [super init];
  if (self) {
    m_charset = TKSmartCardPINCharsetNumeric;
    m_encoding = TKSmartCardPINEncodingASCII;
    m_minPINLength = 4;
    m_maxPINLength = 8;
    m_PINBlockByteLength = 8;
    m_PINJustification = TKSmartCardPINJustificationLeft;
  }
  return self;
}

@end
