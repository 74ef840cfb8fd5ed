#import <CryptoTokenKit/TKSmartCard.h>

#import "platform/src/CryptoTokenKit/TKPrivate.h"
#import "platform/src/service/SmartCardService.h"

@implementation TKSmartCardSlotManager

+ (TKSmartCardSlotManager *)defaultManager {
  static TKSmartCardSlotManager *manager = nil;
  if ([QELSmartCardService sharedService] == nil) {
    return nil;
  }
  if (manager == nil) {
    manager = [[self alloc] init];
  }
  [manager serviceDidChange];  // it may be another service than before
  return manager;
}

- (instancetype)init {
  self = [super init];
  if (self) {
    m_slotNames = [[[QELSmartCardService sharedService] readers] copy];
    [QELSmartCardService tellOfChanges:self];
  }
  return self;
}

- (void)dealloc {
  [[NSNotificationCenter defaultCenter] removeObserver:self];
  [m_slotNames release];
  [super dealloc];
}

- (NSArray *)slotNames {
  return m_slotNames;
}

- (TKSmartCardSlot *)slotNamed:(NSString *)name {
  return [m_slotNames containsObject:name] ? [[[TKSmartCardSlot alloc] initFollowed:name] autorelease] : nil;
}

- (void)serviceDidChange {
  NSArray *names = [[QELSmartCardService sharedService] readers];
  if ([names isEqual:m_slotNames]) {
    return;
  }
  [self willChangeValueForKey:@"slotNames"];
  [m_slotNames autorelease];
  m_slotNames = [names copy];
  [self didChangeValueForKey:@"slotNames"];
}

@end
