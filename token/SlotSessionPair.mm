#import "token/SlotSessionPair.h"

@implementation SlotSessionPair

@synthesize hSlot = m_slot;
@synthesize hSession = m_session;

- (instancetype)initWithSlotSession:(CK_SLOT_ID)slot session:(CK_SESSION_HANDLE)session {
  self = [super init];
  if (self != nil) {
    [self setHSession:session];
    [self setHSlot:slot];
  }
  return self;
}

@end
