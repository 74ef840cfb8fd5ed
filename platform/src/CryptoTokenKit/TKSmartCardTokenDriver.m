#import <CryptoTokenKit/TKSmartCardToken.h>

@implementation TKSmartCardTokenDriver
@end
