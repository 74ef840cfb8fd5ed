#import "token/QELTokenSession.h"

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"
#import "token/CardCall.h"
#include "token/EntryLock.h"

@implementation QELTokenSession (Decryption)

- (nullable NSData *)tokenSession:(TKTokenSession *)session
                      decryptData:(NSData *)ciphertext
                         usingKey:(TKTokenObjectID)keyObjectID
                        algorithm:(TKTokenKeyAlgorithm *)algorithm
                            error:(NSError **)error {
  const EntryLock lock;
  (void)session;
  (void)algorithm;  // the one that is supported needs no telling apart
  return AtBoundary(error, [&] { return [self decryptOnCard:ciphertext usingKey:keyObjectID error:error]; });
}

- (nullable NSData *)decryptOnCard:(NSData *)ciphertext usingKey:(NSData *)keyID error:(NSError **)error {
  CK_OBJECT_HANDLE key = CK_INVALID_HANDLE;
  if (![self prepareKey:keyID handle:&key error:error]) return nil;

  CK_MECHANISM mechanism = {CKM_RSA_PKCS, nullptr, 0};
  const CK_SESSION_HANDLE session = [m_currentPair hSession];
  if (!CardCallSucceeded("C_DecryptInit", PKCS11::Functions()->C_DecryptInit(session, &mechanism, key), error)) {
    return nil;
  }
  auto *input = const_cast<CK_BYTE *>(InputBytes(ciphertext));
  const auto decrypt = [&](CK_BYTE *plaintext, CK_ULONG *length) {
    return PKCS11::Functions()->C_Decrypt(session, input, [ciphertext length], plaintext, length);
  };
  CK_ULONG written = 0;
  NSMutableData *plaintext = OutputOfCall("C_Decrypt", self, decrypt, &written, error);
  // More than the buffer holds is not believed.
  if (written < [plaintext length]) [plaintext setLength:written];
  return plaintext;
}

@end
