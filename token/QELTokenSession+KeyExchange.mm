#import "token/QELTokenSession.h"

#include <iterator>

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"
#import "token/CardCall.h"
#include "token/EntryLock.h"
#import "token/KeyDerivation.h"

@implementation QELTokenSession (KeyExchange)

- (nullable NSData *)tokenSession:(TKTokenSession *)session
    performKeyExchangeWithPublicKey:(NSData *)otherPartyPublicKeyData
                           usingKey:(TKTokenObjectID)objectID
                          algorithm:(TKTokenKeyAlgorithm *)algorithm
                         parameters:(TKTokenKeyExchangeParameters *)parameters
                              error:(NSError **)error {
  const EntryLock lock;
  (void)session;
  return AtBoundary(error, [&] {
    KeyDerivation derivation(algorithm, otherPartyPublicKeyData, [parameters sharedInfo]);
    return [self agreeOnCard:derivation usingKey:objectID parameters:parameters error:error];
  });
}

- (nullable NSData *)agreeOnCard:(KeyDerivation &)derivation
                        usingKey:(NSData *)keyID
                      parameters:(TKTokenKeyExchangeParameters *)parameters
                           error:(NSError **)error {
  CK_OBJECT_HANDLE key = CK_INVALID_HANDLE;
  if (![self prepareKey:keyID handle:&key error:error]) return nil;

  CK_OBJECT_CLASS objectClass = CKO_SECRET_KEY;
  CK_KEY_TYPE keyType = CKK_GENERIC_SECRET;
  auto length = static_cast<CK_ULONG>([parameters requestedSize]);
  CK_ATTRIBUTE attributes[] = {
      {CKA_CLASS, &objectClass, sizeof objectClass},
      {CKA_KEY_TYPE, &keyType, sizeof keyType},
      {CKA_VALUE_LEN, &length, sizeof length},
  };
  // Without a derivation function the card chooses the length: the last attribute is left out.
  const CK_ULONG count = derivation.HasFunction() ? std::size(attributes) : std::size(attributes) - 1;

  const CK_SESSION_HANDLE session = [m_currentPair hSession];
  CK_OBJECT_HANDLE derivedKey = CK_INVALID_HANDLE;
  const CK_RV rv = CallWithPinPadDialog(self, [&] {
    return PKCS11::Functions()->C_DeriveKey(session, derivation.Mechanism(), key, attributes, count, &derivedKey);
  });
  if (!CardCallSucceeded("C_DeriveKey", rv, error)) return nil;
  // The derived key stays in the session, deliberately: the card disposes of it.
  return [self valueOfDerivedKey:derivedKey error:error];
}

- (nullable NSData *)valueOfDerivedKey:(CK_OBJECT_HANDLE)key error:(NSError **)error {
  CK_ATTRIBUTE value = {CKA_VALUE, nullptr, 0};
  const auto read = [&] { return PKCS11::Functions()->C_GetAttributeValue([m_currentPair hSession], key, &value, 1); };
  if (!CardCallSucceeded("C_GetAttributeValue", read(), error)) return nil;
  CardOutput output("C_GetAttributeValue", value.ulValueLen);
  if (!output.IsUsable()) return nil;
  value.pValue = output.Bytes();
  return CardCallSucceeded("C_GetAttributeValue", read(), error) ? output.Data() : nil;
}

@end
