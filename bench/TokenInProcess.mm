#import "bench/TokenInProcess.h"

#include <cstdio>
#include <cstdlib>

#include "pkcs11/Calls.h"
#import "platform/testing/TKTesting.h"
#import "token/ObjectIdentifier.h"
#import "token/QELTokenDriver.h"

namespace {

void Require(bool fulfilled, const char *what, NSError *error) {
  if (fulfilled) return;
  std::fprintf(stderr, "%s: %s\n", what, error != nil ? [[error description] UTF8String] : "refused");
  std::exit(1);
}

/// Retained for the caller.
QELToken *NewToken(const char *reader) {
  TKSmartCardSlot *slot = [TKSmartCardSlot slotWithName:[NSString stringWithUTF8String:reader]];
  TKSmartCard *card = [[[TKSmartCard alloc] initWithSlot:slot] autorelease];
  QELTokenDriver *driver = [[[QELTokenDriver alloc] init] autorelease];
  NSError *error = nil;
  TKToken *token = [driver tokenDriver:driver createTokenForSmartCard:card AID:nil error:&error];
  Require(token != nil, "no token", error);
  return (QELToken *)[token retain];
}

}  // namespace

TokenInProcess::TokenInProcess(const char *reader) {
  @autoreleasepool {
    m_token = NewToken(reader);
    m_session = (QELTokenSession *)[[m_token token:m_token createSessionWithError:nullptr] retain];
    Require(m_session != nil, "no session", nil);
  }
}

TokenInProcess::~TokenInProcess() {
  [m_session release];
  [m_token release];
}

Bare::Card TokenInProcess::Card() const {
  return {PKCS11::Functions(), [[m_session hCurrentPair] hSession]};
}

CK_SLOT_ID TokenInProcess::Slot() const {
  return [[m_session hCurrentPair] hSlot];
}

void TokenInProcess::LogIn(NSString *pin) {
  @autoreleasepool {
    NSError *error = nil;
    TKTokenAuthOperation *operation = [m_session tokenSession:m_session
                                        beginAuthForOperation:TKTokenOperationSignData
                                                   constraint:@"PIN"
                                                        error:&error];
    Require(operation != nil, "login", error);
    [(TKTokenSmartCardPINAuthOperation *)operation setPIN:pin];
    Require([operation finishWithError:&error], "login", error);
  }
}

void TokenInProcess::Sign(NSData *data, NSData *key, TKTokenKeyAlgorithm *algorithm) {
  @autoreleasepool {
    NSError *error = nil;
    NSData *signature = [m_session tokenSession:m_session signData:data usingKey:key algorithm:algorithm error:&error];
    Require(signature != nil, "signature", error);
  }
}

void TokenInProcess::Decrypt(NSData *ciphertext, NSData *key, TKTokenKeyAlgorithm *algorithm) {
  @autoreleasepool {
    NSError *error = nil;
    NSData *plaintext = [m_session tokenSession:m_session
                                    decryptData:ciphertext
                                       usingKey:key
                                      algorithm:algorithm
                                          error:&error];
    Require(plaintext != nil, "decryption", error);
  }
}

void TokenInProcess::Agree(NSData *publicKey, NSData *key, TKTokenKeyAlgorithm *algorithm,
                           TKTokenKeyExchangeParameters *parameters) {
  @autoreleasepool {
    NSError *error = nil;
    NSData *secret = [m_session tokenSession:m_session
             performKeyExchangeWithPublicKey:publicKey
                                    usingKey:key
                                   algorithm:algorithm
                                  parameters:parameters
                                       error:&error];
    Require(secret != nil, "key exchange", error);
  }
}

void TokenInProcess::AskForLogin() {
  @autoreleasepool {
    Require([m_session isUserLoggedIn], "login check", nil);
  }
}

bool TokenInProcess::Supports(TKTokenOperation operation, NSData *key, TKTokenKeyAlgorithm *algorithm) {
  @autoreleasepool {
    return [m_session tokenSession:m_session supportsOperation:operation usingKey:key algorithm:algorithm];
  }
}

void TokenInProcess::ConstructAndEnd(const char *reader) {
  @autoreleasepool {
    [NewToken(reader) release];
  }
}

TKTokenKeyAlgorithm *NewAlgorithm(NSArray *names) {
  return [[TKTokenKeyAlgorithm alloc] initWithAlgorithms:names];
}

TKTokenKeyAlgorithm *NewRawRsaAlgorithm() {
  return NewAlgorithm(
      @[ (NSString *)kSecKeyAlgorithmRSASignatureDigestPKCS1v15Raw, (NSString *)kSecKeyAlgorithmRSASignatureRaw ]);
}

TKTokenKeyAlgorithm *NewEcdsaAlgorithm() {
  return NewAlgorithm(@[ (NSString *)kSecKeyAlgorithmECDSASignatureDigestX962 ]);
}

TKTokenKeyAlgorithm *NewSigningAlgorithm(const SigningKey &key) {
  return key.IsRsa() ? NewRawRsaAlgorithm() : NewEcdsaAlgorithm();
}

NSData *NewData(const Bare::ByteString &bytes) {
  return [[NSData alloc] initWithBytes:bytes.data() length:bytes.size()];
}

NSData *NewKeyID(const Bare::ByteString &id) {
  return [MakeObjectID(ObjectPrefix(ObjectKind::Key, YES), id) retain];
}
