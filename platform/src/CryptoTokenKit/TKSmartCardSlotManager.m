#import <CryptoTokenKit/TKSmartCard.h>

@implementation TKSmartCardSlotManager

+ (TKSmartCardSlotManager *)defaultManager {
  return nil;
}

@end
