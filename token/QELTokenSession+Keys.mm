#import "token/QELTokenSession.h"

#include "pkcs11/FindObjects.h"
#include "pkcs11/QELTokenException.h"
#include "pkcs11/Session.h"
#import "token/ObjectIdentifier.h"
#import "token/TokenKitErrors.h"

@implementation QELTokenSession (Keys)

- (void)selectPairByKeyID:(NSData *)keyID {
  const CK_BYTE prefix = PrefixOfObjectID(keyID);
  if ((prefix & kFirstSlotBit) != 0) {
    [self setHCurrentPair:[m_pairs objectAtIndex:0]];
  } else if ((prefix & kLaterSlotBit) != 0) {
    [self setHCurrentPair:[m_pairs objectAtIndex:1]];
  }
}

- (CK_OBJECT_HANDLE)findPrivateKeyWithKeyID:(NSData *)keyID {
  const auto keys = PKCS11::FindObjectsByID([m_currentPair hSession], CKO_PRIVATE_KEY, CardIDOfObjectID(keyID));
  if (keys.empty()) throw QELTokenException(QELTokenError::KeyLookup, "Private key not found");
  return keys.front();
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

@end
