// A year of use in one process, over a card in memory.

#include <unistd.h>

#include <cstdio>
#include <map>

#include "tests/endurance/ResourceUsage.h"
#import "tests/token/TokenTest.h"
#import "token/QELAuthOperation.h"

using TestCard::FakeCard;

namespace {

constexpr int kSignatures = 100000;
constexpr int kSignaturesPerLogin = 100;
constexpr int kInsertions = 10000;
constexpr int kInsertionsPerBatch = 100;
/// The first tenth fills caches.
constexpr int kWarmUpShare = 10;
/// Bytes per step: the smallest object lost once in three hundred steps is more.
constexpr double kFlat = 0.1;

}  // namespace

class Endurance : public TokenTest {
 protected:
  /// Runs `batches` batches of `size` steps and checks that neither heap nor descriptors grow.
  template <typename Batch>
  void Run(const char *step, int batches, int size, Batch batch) {
    Slope heap(static_cast<size_t>(batches));
    int descriptors = 0;
    for (int i = 0; i < batches; ++i) {
      if (i == batches / kWarmUpShare) descriptors = OpenDescriptors(getpid());
      {
        const CapturedLog log(QELLog::LogLevel::Error);
        const SystemLog::Captured systemLog;
        @autoreleasepool {
          batch();
        }
        ASSERT_TRUE(log.Errors().empty());
      }
      if (i >= batches / kWarmUpShare) heap.Add(static_cast<double>(i) * size, HeapInUse());
    }
    std::printf("%s\n", heap.Describe("heap", step).c_str());
    EXPECT_LT(heap.PerStep(), kFlat);
    EXPECT_EQ(OpenDescriptors(getpid()), descriptors);
  }

  /// Adds the card's calls to the totals and lets the card forget them.
  void Collect(FakeCard &card) {
    for (const std::string &call : card.Names()) ++m_calls[call];
    card.ClearCalls();
    card.pins.clear();
    card.pinWasNull.clear();
  }

  std::map<std::string, int> m_calls;
};

TEST_F(Endurance, AHundredThousandSignaturesWithALoginEachHundred) {
  FakeCard card(OneSlot());
  QELTokenSession *session = nil;
  @autoreleasepool {
    session = [MakeSession(MakeToken()) retain];
  }
  NSData *key = Data({0x12, 0x01, 0x02}), *block = Data({0x00, 0x01, 0xFF, 0x00, 0x2A});
  TKTokenKeyAlgorithm *raw = Algorithm({kSecKeyAlgorithmRSASignatureRaw});
  const auto sign = [&](NSError **error) {
    return [session tokenSession:session signData:block usingKey:key algorithm:raw error:error];
  };
  Run("signature", kSignatures / kSignaturesPerLogin, kSignaturesPerLogin, [&] {
    card.LogOut();
    NSError *error = nil;
    ASSERT_EQ(sign(&error), nil);
    ASSERT_TRUE(IsError(error, TKErrorDomain, TKErrorCodeAuthenticationNeeded));
    auto *login = (QELAuthOperation *)[session tokenSession:session
                                      beginAuthForOperation:TKTokenOperationSignData
                                                 constraint:@"PINAlways"
                                                      error:nullptr];
    [login setPIN:@"1234"];
    ASSERT_TRUE([login finishWithError:nullptr]);
    for (int i = 0; i < kSignaturesPerLogin; ++i) ASSERT_EQ([sign(nullptr) length], card.signature.size());
    Collect(card);
  });
  [session release];
  Collect(card);

  EXPECT_EQ(m_calls["C_SignInit"], kSignatures);
  EXPECT_EQ(m_calls["C_Sign"], 2 * kSignatures);
  EXPECT_EQ(m_calls["C_FindObjectsInit"], m_calls["C_FindObjectsFinal"]);
  EXPECT_EQ(m_calls["C_Login"], 2 * kSignatures / kSignaturesPerLogin);
  EXPECT_EQ(m_calls["C_OpenSession"], 1);
  EXPECT_EQ(m_calls["C_CloseSession"], 1);
}

TEST_F(Endurance, TenThousandInsertionsAndRemovals) {
  LiveObjects tokens([QELToken class]), sessions([QELTokenSession class]), pairs([SlotSessionPair class]);
  FakeCard card(TwoSlots());
  Run("insertion", kInsertions / kInsertionsPerBatch, kInsertionsPerBatch, [&] {
    for (int i = 0; i < kInsertionsPerBatch; ++i) {
      @autoreleasepool {
        QELTokenSession *session = MakeSession(MakeToken());
        ASSERT_EQ([[session hSlotSessionPairs] count], 2u);
      }
      ASSERT_EQ(card.OpenSessions(), 0);
    }
    Collect(card);
  });

  EXPECT_EQ(m_calls["C_OpenSession"], 2 * kInsertions);
  EXPECT_EQ(m_calls["C_CloseSession"], 2 * kInsertions);
  EXPECT_EQ(m_calls["C_FindObjectsInit"], m_calls["C_FindObjectsFinal"]);
}
