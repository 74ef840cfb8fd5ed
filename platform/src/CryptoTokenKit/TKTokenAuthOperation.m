#import <CryptoTokenKit/TKToken.h>

#import "platform/src/NotModelled.h"

@implementation TKTokenAuthOperation

+ (BOOL)supportsSecureCoding {
  return YES;
}

- (instancetype)initWithCoder:(NSCoder *)coder {
  (void)coder;
  QEL_NOT_MODELLED_METHOD();
  return [self init];
}

- (void)encodeWithCoder:(NSCoder *)coder {
  (void)coder;
  QEL_NOT_MODELLED_METHOD();
}

- (BOOL)finishWithError:(NSError **)error {
  (void)error;
  return YES;
}

@end
