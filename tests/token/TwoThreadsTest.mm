// Two readers at once: CryptoTokenKit keeps to one call at a time for each token, and has two tokens.

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#import "tests/token/SessionTest.h"
#include "token/EntryLock.h"

using namespace TestCard;

namespace {

constexpr int kRounds = 25;

/// A card that bears one thread at a time, as the maker's library does: what it keeps is unprotected, and it sees a
/// second thread that is inside.
class OneThreadCard : public FakeCard {
 public:
  using FakeCard::FakeCard;

  int Intrusions() const { return m_intrusions; }

 protected:
  CK_RV Answer(Call &call) override {
    const bool alone = m_inside.fetch_add(1) == 0;
    if (!alone) ++m_intrusions;
    std::this_thread::yield();
    const CK_RV rv = alone ? FakeCard::Answer(call) : CKR_CANT_LOCK;
    m_inside.fetch_sub(1);
    return rv;
  }

 private:
  std::atomic<int> m_inside{0};
  std::atomic<int> m_intrusions{0};
};

/// A slot of its own reader with an RSA and an EC key whose identifiers no other slot has.
FakeSlot SlotOf(CK_SLOT_ID id, const std::string &reader, CK_BYTE keyID, CK_FLAGS flags) {
  FakeSlot slot{id, reader};
  slot.tokenFlags = flags;
  slot.objects = {UserCertificate(10 * id + 1, {keyID}, "certificate", TestCertificates::Rsa()),
                  PublicKeyObject(10 * id + 2, {keyID}, "key", CKK_RSA),
                  PrivateKeyObject(10 * id + 3, {keyID}),
                  UserCertificate(10 * id + 4, {keyID, 1}, "certificate", TestCertificates::Ec()),
                  PublicKeyObject(10 * id + 5, {keyID, 1}, "key", CKK_EC),
                  PrivateKeyObject(10 * id + 6, {keyID, 1})};
  return slot;
}

}  // namespace

class TwoThreads : public TokenTest {
 protected:
  /// Everything that CryptoTokenKit asks of a token from insertion to removal. Returns what went wrong, nothing if all
  /// was right.
  static std::string Life(NSString *reader, CK_BYTE keyID) {
    @autoreleasepool {
      QELToken *token = MakeToken(nullptr, SmartCard(reader));
      if (token == nil) return "no token";
      QELTokenSession *session = MakeSession(token);
      if (session == nil) return "no session";
      NSData *key = Data({0x12, keyID});
      TKTokenKeyAlgorithm *pss = Algorithm({kSecKeyAlgorithmRSASignatureDigestPSSSHA256});
      if (![session tokenSession:session supportsOperation:TKTokenOperationSignData usingKey:key algorithm:pss]) {
        return "not supported";
      }
      TKTokenAuthOperation *login = [session tokenSession:session
                                    beginAuthForOperation:TKTokenOperationSignData
                                               constraint:@"PINAlways"
                                                    error:nullptr];
      if ([login isKindOfClass:[QELAuthOperation class]]) [(QELAuthOperation *)login setPIN:@"1234"];
      if (![login finishWithError:nullptr]) return "no login";
      NSData *digest = Data(ByteString(32, keyID));
      NSData *signature = [session tokenSession:session signData:digest usingKey:key algorithm:pss error:nullptr];
      if (BytesOf(signature) != ByteString(64, 0x5A)) return "no signature";
      NSData *plaintext = [session tokenSession:session
                                    decryptData:Data(ByteString(256, 1))
                                       usingKey:key
                                      algorithm:Algorithm({kSecKeyAlgorithmRSAEncryptionPKCS1})
                                          error:nullptr];
      if (BytesOf(plaintext) != ByteString(32, 0x11)) return "no plaintext";
      NSData *ecKey = Data({0x12, keyID, 1});
      TKTokenKeyAlgorithm *x963 = Algorithm({kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1});
      if (![session tokenSession:session
               supportsOperation:TKTokenOperationPerformKeyExchange
                        usingKey:ecKey
                       algorithm:x963]) {
        return "no key exchange";
      }
      NSData *secret = [session
                             tokenSession:session
          performKeyExchangeWithPublicKey:Data(ByteString(65, 4))
                                 usingKey:ecKey
                                algorithm:x963
                               parameters:[[[TKTokenKeyExchangeParameters alloc] initWithRequestedSize:32
                                                                                            sharedInfo:nil] autorelease]
                                    error:nullptr];
      return BytesOf(secret) == ByteString(32, 0x22) ? "" : "no secret";
    }
  }
};

TEST_F(TwoThreads, MakeUseAndReleaseTheirTokensWithOneOfThemInTheLibraryAtATime) {
  OneThreadCard card({SlotOf(1, "Reader A", 0xA1, 0), SlotOf(2, "Reader B", 0xB2, CKF_PROTECTED_AUTHENTICATION_PATH)});
  Texts outcomes[2];
  const auto run = [&](NSString *reader, CK_BYTE keyID, Texts &outcome) {
    for (int round = 0; round < kRounds; ++round) outcome.push_back(Life(reader, keyID));
  };
  std::thread other([&] { run(@"Reader B", 0xB2, outcomes[1]); });
  run(@"Reader A", 0xA1, outcomes[0]);
  other.join();
  EXPECT_EQ(outcomes[0], Texts(kRounds, ""));
  EXPECT_EQ(outcomes[1], Texts(kRounds, ""));
  EXPECT_EQ(card.Intrusions(), 0);
  EXPECT_EQ(card.OpenSessions(), 0);
  EXPECT_EQ(card.Count("C_Initialize"), 1) << "the first token of either loads the libraries";
}

TEST_F(TwoThreads, ATokenMayGoWhileItsThreadIsInTheExtension) {
  OneThreadCard card({SlotOf(1, "Reader A", 0xA1, 0)});
  card.Fail("C_OpenSession", CKR_DEVICE_ERROR);
  @autoreleasepool {
    EXPECT_EQ(MakeToken(nullptr, SmartCard(@"Reader A")), nil) << "given up by its own construction";
  }
  EXPECT_EQ(Life(@"Reader A", 0xA1), "");
}

class WhileAnotherThreadIsInTheExtension : public SessionTest {
 protected:
  /// Whether `entry`, made on a thread of its own, waits for this one to leave the extension.
  static bool Waits(const std::function<void()> &entry) {
    std::atomic<bool> left{false};
    std::thread other;
    bool waited = false;
    {
      const EntryLock inside;
      other = std::thread([&] {
        @autoreleasepool {
          entry();
        }
        left = true;
      });
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      waited = !left;
    }
    other.join();
    return waited;
  }
};

TEST_F(WhileAnotherThreadIsInTheExtension, EveryEntryWaits) {
  EXPECT_TRUE(Waits([&] { MakeToken(nullptr, SmartCard(@"Unknown Reader")); })) << "a token";
  EXPECT_TRUE(Waits([&] { MakeSession(m_token); })) << "a session";
  EXPECT_TRUE(Waits([&] { Supports(TKTokenOperationSignData, RsaKey(), RawRsa()); })) << "a question";
  EXPECT_TRUE(Waits([&] { Begun<QELAuthOperation>(m_session); })) << "the beginning of a login";
  EXPECT_TRUE(Waits([&] { Sign(Block(), RawRsa()); })) << "a signature";
  EXPECT_TRUE(Waits([&] { Decrypt(Ciphertext()); })) << "a decryption";
  EXPECT_TRUE(Waits([&] { Agree(PeerKey(), Parameters(32)); })) << "a key exchange";
  QELAuthOperation *login = Begun<QELAuthOperation>(m_session);
  [login setPIN:@"1234"];
  EXPECT_TRUE(Waits([&] { [login finishWithError:nullptr]; })) << "a login";
  auto *pinPad = [[[QELPINPadAuthOperation alloc] initWithSession:m_session] autorelease];
  EXPECT_TRUE(Waits([&] { [pinPad finishWithError:nullptr]; })) << "a login on the reader";
  QELToken *unbuilt = [QELToken alloc];
  EXPECT_TRUE(Waits([&] { [unbuilt release]; })) << "a token's end";
}
