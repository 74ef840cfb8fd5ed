#import "token/TKTokenKeychainItem+QELDataFormat.h"

@implementation TKTokenKeychainItem (QELDataFormat)

- (void)setName:(NSString *)name {
  NSString *label = [self label];
  [self setLabel:label == nil ? name : [NSString stringWithFormat:@"%@ (%@)", name, label]];
}

@end
