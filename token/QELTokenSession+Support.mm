#import "token/QELTokenSession.h"

#include "pkcs11/Calls.h"
#include "token/EntryLock.h"
#import "token/SignatureForms.h"

namespace {

bool IsType(TKTokenKeychainKey *key, CFStringRef type) {
  return [[key keyType] isEqualToString:(NSString *)type];
}

bool CanSignWith(TKTokenKeychainKey *key, TKTokenKeyAlgorithm *algorithm) {
  if (![key canSign]) return false;
  if (IsType(key, kSecAttrKeyTypeRSA)) {
    const SigningMechanism mechanism(algorithm);
    // The raw form counts only when the platform makes it out of a PKCS#1 v1.5 signature: the card pads by itself.
    return mechanism.IsPss() ||
           (mechanism.IsRaw() && [algorithm supportsAlgorithm:kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw]);
  }
  return IsType(key, kSecAttrKeyTypeECSECPrimeRandom) &&
         [algorithm isAlgorithm:kSecKeyAlgorithmECDSASignatureDigestX962];
}

bool CanDecryptWith(TKTokenKeychainKey *key, TKTokenKeyAlgorithm *algorithm) {
  return
      [key canDecrypt] && IsType(key, kSecAttrKeyTypeRSA) && [algorithm isAlgorithm:kSecKeyAlgorithmRSAEncryptionPKCS1];
}

/// With two pairs or more the card is not asked, on purpose: the algorithm alone decides.
bool CardDerives(NSArray<SlotSessionPair *> *pairs) {
  if ([pairs count] != 1) return true;
  CK_MECHANISM_INFO info{};
  return PKCS11::Functions()->C_GetMechanismInfo([[pairs firstObject] hSlot], CKM_ECDH1_DERIVE, &info) == CKR_OK;
}

bool CanExchangeWith(TKTokenKeychainKey *key, TKTokenKeyAlgorithm *algorithm, NSArray<SlotSessionPair *> *pairs) {
  return [key canPerformKeyExchange] && IsType(key, kSecAttrKeyTypeEC) && CardDerives(pairs) &&
         [algorithm isAlgorithm:kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1];
}

}  // namespace

@implementation QELTokenSession (Support)

- (BOOL)tokenSession:(TKTokenSession *)session
    supportsOperation:(TKTokenOperation)operation
             usingKey:(TKTokenObjectID)keyObjectID
            algorithm:(TKTokenKeyAlgorithm *)algorithm {
  const EntryLock lock;
  (void)session;
  TKTokenKeychainKey *key = [[[self token] keychainContents] keyForObjectID:keyObjectID error:nullptr];
  if (key == nil) return NO;
  switch (operation) {
    case TKTokenOperationSignData:
      return CanSignWith(key, algorithm);
    case TKTokenOperationDecryptData:
      return CanDecryptWith(key, algorithm);
    case TKTokenOperationPerformKeyExchange:
      return CanExchangeWith(key, algorithm, [self hSlotSessionPairs]);
    default:
      return NO;
  }
}

@end
