#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "bench/BareCalls.h"
#include "bench/SigningKeys.h"
#import "token/QELToken.h"
#import "token/QELTokenSession.h"

/// The product's token and a session of it in this process, without the host, on the card in one reader.
class TokenInProcess {
 public:
  /// Ends the program with a message when there is no token.
  explicit TokenInProcess(const char *reader);
  ~TokenInProcess();
  TokenInProcess(const TokenInProcess &) = delete;
  TokenInProcess &operator=(const TokenInProcess &) = delete;

  QELToken *Token() const { return m_token; }
  QELTokenSession *Session() const { return m_session; }

  /// The session that the token opened, for bare calls.
  Bare::Card Card() const;
  CK_SLOT_ID Slot() const;

  /// Logs in as a user with that PIN does.
  void LogIn(NSString *pin);

  // What CryptoTokenKit asks, each in an autorelease pool of its own; they end the program with a message when refused.
  void Sign(NSData *data, NSData *key, TKTokenKeyAlgorithm *algorithm);
  void Decrypt(NSData *ciphertext, NSData *key, TKTokenKeyAlgorithm *algorithm);
  void Agree(NSData *publicKey, NSData *key, TKTokenKeyAlgorithm *algorithm, TKTokenKeyExchangeParameters *parameters);
  void AskForLogin();
  bool Supports(TKTokenOperation operation, NSData *key, TKTokenKeyAlgorithm *algorithm);

  /// A token is made and ended again, in an autorelease pool of its own.
  static void ConstructAndEnd(const char *reader);

 private:
  QELToken *m_token;
  QELTokenSession *m_session;
};

/// The algorithms of a request, of which the last is the form of the data. Retained for the caller.
TKTokenKeyAlgorithm *NewAlgorithm(NSArray *names);
/// What the platform makes of a PKCS#1 v1.5 signature.
TKTokenKeyAlgorithm *NewRawRsaAlgorithm();
TKTokenKeyAlgorithm *NewEcdsaAlgorithm();
/// The one of the two that fits the key.
TKTokenKeyAlgorithm *NewSigningAlgorithm(const SigningKey &key);

/// Bytes as an object; retained for the caller.
NSData *NewData(const Bare::ByteString &bytes);
/// The identifier of the key with that CKA_ID in the first slot; retained for the caller.
NSData *NewKeyID(const Bare::ByteString &id);
