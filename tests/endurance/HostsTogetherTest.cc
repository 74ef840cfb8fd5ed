// Hosts beside each other, as the windows, scripts and agents of a user are.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <future>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

constexpr int kHosts = 8;
constexpr std::chrono::minutes kTime{1};

/// What one of the hosts does over and over until `end`. Returns how often; fails the test when a command fails.
int UseUntil(std::chrono::steady_clock::time_point end, const RealCard& card, int number) {
  const std::string key = card.KeyID(), signature = card.Path("signature-" + std::to_string(number));
  const std::string publicKey = card.Path("public.pem");
  int rounds = 0;
  for (; std::chrono::steady_clock::now() < end; ++rounds) {
    const ChildResult listed = card.Host({"list"});
    EXPECT_EQ(listed.exitStatus, 0) << listed.errors;
    EXPECT_NE(listed.output.find("  key   " + key), std::string::npos) << listed.output;
    const ChildResult made = card.Host(
        {"sign", "--key", key, "--algorithm", "ecdsa-sha256", "--in", card.Path("message"), "--out", signature});
    EXPECT_EQ(made.exitStatus, 0) << made.errors;
    EXPECT_TRUE(Verifies("ecdsa-sha256", publicKey, card.Path("message"), signature)) << number;
  }
  return rounds;
}

TEST(HostsTogether, EightForAMinuteListAndSignWithoutAFailure) {
  const RealCard card({"--key", "p256"});
  std::filesystem::rename(card.ExportPublicKey(card.KeyID()), card.Path("public.pem"));
  const auto end = std::chrono::steady_clock::now() + kTime;
  std::vector<std::future<int>> hosts;
  for (int number = 0; number < kHosts; ++number)
    hosts.push_back(std::async(std::launch::async, [&, number] { return UseUntil(end, card, number); }));
  int rounds = 0;
  for (auto& host : hosts) rounds += host.get();
  std::printf("%d hosts listed and signed %d times\n", kHosts, rounds);
  EXPECT_GE(rounds, 2 * kHosts);
}

}  // namespace
