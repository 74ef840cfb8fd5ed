#import "token/QELTokenSession.h"

#include "log/QELLog.h"
#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"
#import "token/CardCall.h"
#include "token/EntryLock.h"
#import "token/SignatureForms.h"

@implementation QELTokenSession (Signing)

- (int64_t)removePKCS1PaddingFromData:(NSData *)data {
  return Pkcs1PayloadOffset(static_cast<const uint8_t *>([data bytes]), [data length]);
}

- (nullable NSData *)tokenSession:(TKTokenSession *)session
                         signData:(NSData *)dataToSign
                         usingKey:(TKTokenObjectID)keyObjectID
                        algorithm:(TKTokenKeyAlgorithm *)algorithm
                            error:(NSError **)error {
  const EntryLock lock;
  (void)session;
  return AtBoundary(error,
                    [&] { return [self signOnCard:dataToSign usingKey:keyObjectID algorithm:algorithm error:error]; });
}

- (nullable NSData *)signOnCard:(NSData *)data
                       usingKey:(NSData *)keyID
                      algorithm:(TKTokenKeyAlgorithm *)algorithm
                          error:(NSError **)error {
  CK_OBJECT_HANDLE key = CK_INVALID_HANDLE;
  if (![self prepareKey:keyID handle:&key error:error]) return nil;

  SigningMechanism mechanism(algorithm);
  const CK_SESSION_HANDLE session = [m_currentPair hSession];
  if (!CardCallSucceeded("C_SignInit", PKCS11::Functions()->C_SignInit(session, mechanism.Get(), key), error)) {
    return nil;
  }
  QELLog::Info() << mechanism.Pss().hashAlg;
  QELLog::Info() << mechanism.Pss().sLen;

  // The card adds the PKCS#1 padding itself. A refused block leaves the started operation in the session.
  int64_t offset = 0;
  if (mechanism.IsRaw()) {
    offset = [self removePKCS1PaddingFromData:data];
    if (offset < 0) {
      QELLog::Error() << "data to sign contains incorrect padding";
      return nil;
    }
  }
  NSMutableData *signature = [self signatureOfBytes:InputBytes(data) + offset
                                             length:[data length] - static_cast<NSUInteger>(offset)
                                              error:error];
  if (signature == nil || ![algorithm isAlgorithm:kSecKeyAlgorithmECDSASignatureDigestX962]) return signature;
  return DerFromRawEcdsaSignature(signature);
}

- (nullable NSMutableData *)signatureOfBytes:(const CK_BYTE *)bytes length:(CK_ULONG)length error:(NSError **)error {
  const CK_SESSION_HANDLE session = [m_currentPair hSession];
  auto *input = const_cast<CK_BYTE *>(bytes);
  const auto sign = [&](CK_BYTE *signature, CK_ULONG *signatureLength) {
    return PKCS11::Functions()->C_Sign(session, input, length, signature, signatureLength);
  };
  CK_ULONG written = 0;  // not applied, deliberately: the signature keeps the length that was announced
  return OutputOfCall("C_Sign", self, sign, &written, error);
}

@end
