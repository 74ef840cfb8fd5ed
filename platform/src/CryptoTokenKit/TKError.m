#import <CryptoTokenKit/TKError.h>

NSString *const TKErrorDomain = @"CryptoTokenKit";
