#import <CryptoTokenKit/TKSmartCard.h>

#import "platform/src/NotModelled.h"
#import "platform/testing/TKTesting.h"

@implementation TKSmartCardSlot

@synthesize name = m_name;

+ (TKSmartCardSlot *)slotWithName:(NSString *)name {
  TKSmartCardSlot *slot = [[[self alloc] init] autorelease];
  slot->m_name = [name copy];
  return slot;
}

- (void)dealloc {
  [m_name release];
  [super dealloc];
}

- (TKSmartCardSlotState)state {
  QEL_NOT_MODELLED_METHOD();
  return TKSmartCardSlotStateMissing;
}

- (TKSmartCardATR *)ATR {
  QEL_NOT_MODELLED_METHOD();
  return nil;
}

- (NSInteger)maxInputLength {
  QEL_NOT_MODELLED_METHOD();
  return 0;
}

- (NSInteger)maxOutputLength {
  QEL_NOT_MODELLED_METHOD();
  return 0;
}

- (TKSmartCard *)makeSmartCard {
  QEL_NOT_MODELLED_METHOD();
  return nil;
}

@end
