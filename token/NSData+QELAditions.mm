#import "token/NSData+QELAditions.h"

@implementation NSData (QELAditions)

+ (NSData *)dataWithByteArray:(const std::vector<CK_BYTE> &)bytes {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

@end
