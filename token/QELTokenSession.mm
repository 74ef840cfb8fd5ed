#import "token/QELTokenSession.h"

#include "pkcs11/Calls.h"
#include "pkcs11/FindObjects.h"
#include "pkcs11/QELTokenException.h"
#include "pkcs11/Session.h"
#import "token/CardCall.h"
#import "token/ObjectIdentifier.h"
#import "token/QELToken.h"

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

@implementation QELTokenSession

@synthesize hSlotSessionPairs = m_pairs;
@synthesize hCurrentPair = m_currentPair;
@synthesize isPinPad = m_isPinPad;
@synthesize loginCard = m_loginCard;

+ (nullable instancetype)sessionWithToken:(QELToken *)token {
  QELTokenSession *session = [[[self alloc] initWithToken:token] autorelease];
  if ([session delegate] == nil) [session setDelegate:session];
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

- (void)selectPairByKeyID:(NSData *)keyID {
  const CK_BYTE prefix = PrefixOfObjectID(keyID);
  if ((prefix & kFirstSlotBit) != 0) {
    [self setHCurrentPair:[m_pairs objectAtIndex:0]];
  } else if ((prefix & kLaterSlotBit) != 0) {
    [self setHCurrentPair:[m_pairs objectAtIndex:1]];
  }
}

- (CK_OBJECT_HANDLE)findPrivateKeyWithKeyID:(NSData *)keyID {
  const CardID cardID = CardIDOfObjectID(keyID);
  const auto key = PKCS11::FindFirstByID([m_currentPair hSession], CKO_PRIVATE_KEY, cardID.bytes, cardID.length);
  if (!key) throw QELTokenException(QELTokenError::KeyLookup, "Private key not found");
  return *key;
}

- (BOOL)isUserLoggedIn {
  return PKCS11::IsUserLoggedIn([m_currentPair hSession]);
}

- (BOOL)prepareKey:(NSData *)keyID handle:(CK_OBJECT_HANDLE *)handle error:(NSError **)error {
  [self selectPairByKeyID:keyID];
  if (![self isUserLoggedIn]) {
    StoreAuthenticationNeeded(error);
    return NO;
  }
  *handle = [self findPrivateKeyWithKeyID:keyID];
  return YES;
}

- (void)dealloc {
  [m_pairs release];
  [m_currentPair release];
  [m_loginCard release];
  [super dealloc];
}

@end
