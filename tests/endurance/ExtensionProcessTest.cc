// The extension's own process over the soft card: memory and descriptors as the system sees them.

#include "host/extension/ExtensionProcess.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdio>

#include "host/keys/KeySession.h"
#include "tests/endurance/ResourceUsage.h"
#include "tests/integration/RealCard.h"

namespace {

constexpr int kInsertions = 100;
constexpr int kSignaturesPerInsertion = 50;
constexpr int kWarmUp = 20;
/// Resident memory counts in pages, and the library beneath logs in and out: what is lost must be less than a small
/// object per signature.
constexpr double kFlat = 16;

TEST(ExtensionProcessEndurance, KeepsItsMemoryOverInsertionsAndSignatures) {
  const RealCard card({"--key", "p256"});
  setenv("HOME", card.Path("home").c_str(), 1);
  setenv("QEL_SOFTCARD_DIR", card.Path("cards").c_str(), 1);
  ASSERT_EQ(card.SoftCard({"trace", "off"}).exitStatus, 0);
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);

  Host::ExtensionProcess process(QEL_BUNDLE, std::chrono::seconds(30));
  const Host::PinSource pins(card.Path("pin"));
  const std::string reader = "QEL Soft Reader 00";
  Slope memory(kInsertions);
  int descriptors = 0;
  for (int i = 0; i < kInsertions; ++i) {
    ASSERT_EQ(card.SoftCard({"insert", "card"}).exitStatus, 0);
    {
      const Host::CardToken token(process, reader);
      Host::KeySession session(token, pins);
      for (const Wire::Item& item : token.Items()) {
        if (item.kind != Wire::Item::Kind::Key) continue;
        for (int n = 0; n < kSignaturesPerInsertion; ++n) {
          ASSERT_FALSE(session.Sign(item, "algid:sign:ECDSA:message-X962:SHA256", {1, 2, 3}).empty());
        }
      }
    }
    ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
    if (i == kWarmUp) descriptors = OpenDescriptors(process.ProcessId());
    if (i >= kWarmUp) memory.Add(i * kSignaturesPerInsertion, ResidentMemory(process.ProcessId()));
  }
  std::printf("%s\n", memory.Describe("resident", "signature").c_str());
  EXPECT_LT(memory.PerStep(), kFlat);
  EXPECT_EQ(OpenDescriptors(process.ProcessId()), descriptors);
  EXPECT_EQ(process.Run(), 1) << "the process was started again";
}

}  // namespace
