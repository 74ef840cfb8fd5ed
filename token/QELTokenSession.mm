#import "token/QELTokenSession.h"

#include "pkcs11/CallResult.h"
#include "pkcs11/FunctionList.h"
#import "token/QELToken.h"

@implementation QELTokenSession

@synthesize hSlotSessionPairs = m_pairs;
@synthesize hCurrentPair = m_currentPair;
@synthesize isPinPad = m_isPinPad;

+ (nullable instancetype)sessionWithToken:(QELToken *)token {
  QELTokenSession *session = [[[self alloc] initWithToken:token] autorelease];
  [session setHSlotSessionPairs:[NSMutableArray arrayWithCapacity:[[token hSlots] count]]];

  for (NSUInteger i = 0; i < [[token hSlots] count]; ++i) {
    const CK_SLOT_ID slot = [[[token hSlots] objectAtIndex:i] unsignedLongValue];
    const CK_SESSION_HANDLE handle = [[[token hSessions] objectAtIndex:i] unsignedLongValue];
    [[session hSlotSessionPairs] addObject:[[[SlotSessionPair alloc] initWithSlotSession:slot
                                                                                 session:handle] autorelease]];

    CK_TOKEN_INFO info{};
    if (!PKCS11::Succeeded("C_GetTokenInfo", PKCS11::Functions()->C_GetTokenInfo(slot, &info))) return nil;
    // Each slot overwrites the answer: the last one stands.
    [session setIsPinPad:(info.flags & CKF_PROTECTED_AUTHENTICATION_PATH) != 0];
  }
  [session setHCurrentPair:[[session hSlotSessionPairs] firstObject]];
  return session;
}

- (void)dealloc {
  [m_pairs release];
  [m_currentPair release];
  [super dealloc];
}

@end
