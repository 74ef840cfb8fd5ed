#import <CryptoTokenKit/TKSmartCard.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"
#import "platform/src/NotModelled.h"
#import "platform/src/service/SmartCardService.h"
#import "platform/testing/TKTesting.h"

@implementation TKSmartCardSlot

@synthesize name = m_name;

+ (TKSmartCardSlot *)slotWithName:(NSString *)name {
  TKSmartCardSlot *slot = [[[self alloc] init] autorelease];
  slot->m_name = [name copy];
  return slot;
}

- (instancetype)initFollowed:(NSString *)name {
  self = [super init];
  if (self) {
    m_name = [name copy];
    m_state = [[QELSmartCardService sharedService] stateOfReader:name];
    [QELSmartCardService tellOfChanges:self];
  }
  return self;
}

- (void)dealloc {
  [[NSNotificationCenter defaultCenter] removeObserver:self];
  [m_name release];
  [super dealloc];
}

- (TKSmartCardSlotState)state {
  return m_state;
}

- (void)serviceDidChange {
  const TKSmartCardSlotState state = [[QELSmartCardService sharedService] stateOfReader:m_name];
  if (state == m_state) {
    return;
  }
  [self willChangeValueForKey:@"state"];
  m_state = state;
  [self didChangeValueForKey:@"state"];
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
