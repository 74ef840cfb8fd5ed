// What the benchmarks compare the product with makes the product's calls, one for one: same order, same arguments.

#include "bench/BareCalls.h"
#include "bench/SigningKeys.h"
#import "tests/token/SessionTest.h"

namespace {

using Trace = std::vector<std::string>;

void ReplaceFirst(std::string &text, const std::string &old, const std::string &replacement) {
  if (const size_t at = text.find(old); at != std::string::npos) text.replace(at, old.size(), replacement);
}

class BareCallsTest : public SessionTest {
 protected:
  Bare::Card Bare() const { return {TestCard::FunctionList(), [[m_session hCurrentPair] hSession]}; }

  /// The calls that `operation` makes.
  template <typename Operation>
  Trace CallsOf(Operation operation) {
    m_card.ClearCalls();
    operation();
    return m_card.Calls();
  }
};

TEST_F(BareCallsTest, ASignatureMakesTheSameCalls) {
  const SigningKey rsa = {"RSA-2048", {1, 2}, CKM_RSA_PKCS, 256, 32}, ec = {"P-256", {3, 4}, CKM_ECDSA, 0, 32};
  for (const SigningKey &key : {rsa, ec}) {
    SCOPED_TRACE(key.name);
    NSData *identifier = key.IsRsa() ? RsaKey() : EcKey();
    TKTokenKeyAlgorithm *algorithm = key.IsRsa() ? RawRsa() : Ecdsa();
    const Trace product =
        CallsOf([&] { EXPECT_NE(Sign(Data(key.PlatformInput()), algorithm, nullptr, identifier), nil); });
    const auto signedByProduct = m_card.signedData;
    const Trace bare = CallsOf([&] { Bare::Sign(Bare(), key.id, key.mechanism, key.CardInput()); });
    EXPECT_EQ(product.size(), 8u);
    EXPECT_EQ(bare, product);
    EXPECT_EQ(m_card.signedData, signedByProduct);
  }
}

TEST_F(BareCallsTest, ADecryptionMakesTheSameCalls) {
  const Bytes ciphertext(256, 0x42);
  const Trace product = CallsOf([&] { EXPECT_NE(Decrypt(Data(ciphertext)), nil); });
  EXPECT_EQ(product.size(), 8u);
  EXPECT_EQ(CallsOf([&] { Bare::Decrypt(Bare(), {1, 2}, ciphertext); }), product);
}

TEST_F(BareCallsTest, AKeyExchangeMakesTheSameCalls) {
  Bytes publicKey(65, 0x07);
  publicKey[0] = 0x04;
  const Trace product = CallsOf([&] { EXPECT_NE(Agree(Data(publicKey), Parameters(32)), nil); });
  const auto seenByProduct = m_card.publicData;
  Trace bare = CallsOf([&] { Bare::Agree(Bare(), {3, 4}, Bytes(64, 0x07), 32); });
  for (std::string &call : bare) ReplaceFirst(call, "object=9002", "object=9001");  // the next derived key
  EXPECT_EQ(bare, product);
  EXPECT_EQ(m_card.publicData, seenByProduct);
}

TEST_F(BareCallsTest, ALoginCheckMakesTheSameCall) {
  const Trace product = CallsOf([&] { EXPECT_TRUE([m_session isUserLoggedIn]); });
  EXPECT_EQ(CallsOf([&] { EXPECT_TRUE(Bare::IsLoggedIn(Bare())); }), product);
}

TEST_F(BareCallsTest, AQuestionForKeyExchangeMakesTheSameCall) {
  const Trace product =
      CallsOf([&] { EXPECT_TRUE(Supports(TKTokenOperationPerformKeyExchange, EcKey(), X963Sha1())); });
  EXPECT_EQ(CallsOf([&] { EXPECT_TRUE(Bare::Derives(TestCard::FunctionList(), [[m_session hCurrentPair] hSlot])); }),
            product);
}

/// The calls of a token's construction and end on a card.
class BareConstructionTest : public TokenTest {
 protected:
  static void ExpectSameCalls(std::vector<TestCard::FakeSlot> slots) {
    {
      const TestCard::FakeCard first(slots);  // the library is loaded and initialized once
      @autoreleasepool {
        MakeToken();
      }
    }
    TestCard::FakeCard product(slots);
    @autoreleasepool {
      ASSERT_NE(MakeToken(), nil);
    }
    TestCard::FakeCard bare(std::move(slots));
    size_t parsed = 0;
    Bare::Construct(TestCard::FunctionList(), kReader, [&](const Bare::ByteString &) { ++parsed; });
    EXPECT_GT(parsed, 0u);
    EXPECT_EQ(bare.Calls(), product.Calls());
  }
};

TEST_F(BareConstructionTest, ATokenMakesTheSameCalls) {
  ExpectSameCalls(OneSlot());
}

TEST_F(BareConstructionTest, ATokenOnTwoSlotsMakesTheSameCalls) {
  ExpectSameCalls(TwoSlots());
}

}  // namespace
