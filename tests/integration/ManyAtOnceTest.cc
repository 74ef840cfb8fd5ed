#include <gtest/gtest.h>

#include <future>
#include <set>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

constexpr int kDozens = 24;

/// Runs `command` for 0, 1, 2 and so on, all at once. Returns what each left behind.
template <class Command>
std::vector<ChildResult> AtOnce(int count, const Command& command) {
  std::vector<std::future<ChildResult>> running;
  for (int number = 0; number < count; number++)
    running.push_back(std::async(std::launch::async, [&command, number] { return command(number); }));
  std::vector<ChildResult> results;
  for (auto& each : running) results.push_back(each.get());
  return results;
}

TEST(ManyAtOnce, HostsThatStartTogetherAllSeeTheCard) {
  const RealCard card({"--key", "p256"});
  for (const auto& result : AtOnce(kDozens, [&](int) { return card.Host({"list"}); })) {
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_NE(result.output.find("EC P-256"), std::string::npos) << result.output;
  }
}

TEST(ManyAtOnce, HostsSignWhileCardsAreMade) {
  const RealCard card({"--key", "p256"});
  const std::string key = card.KeyID();
  const std::string publicKey = card.ExportPublicKey(key);
  const auto signature = [&](int number) { return card.Path("signature-" + std::to_string(number)); };
  const auto results = AtOnce(kDozens, [&](int number) {
    if (number % 4 == 0)
      return card.SoftCard({"init", "more-" + std::to_string(number), "--pin-file", card.Path("pin"), "--key", "p256"});
    return card.Host({"sign", "--key", key, "--algorithm", "ecdsa-sha256", "--in", card.Path("message"), "--out",
                      signature(number)});
  });
  for (int number = 0; number < kDozens; number++) {
    const auto& result = results[static_cast<size_t>(number)];
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    if (number % 4 != 0) {
      EXPECT_TRUE(Verifies("ecdsa-sha256", publicKey, card.Path("message"), signature(number))) << number;
    }
  }
}

TEST(ManyAtOnce, CardsThatAreMadeTogetherAreAllThereAndUsable) {
  const RealCard card({"--key", "p256"});
  const auto name = [](int number) { return "more-" + std::to_string(number); };
  constexpr int kCards = 8;
  for (const auto& result : AtOnce(kCards, [&](int number) {
         return card.SoftCard({"init", name(number), "--pin-file", card.Path("pin"), "--key", "p256"});
       }))
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
  for (const auto& result : AtOnce(kCards, [&](int number) {
         return card.SoftCard({"insert", name(number), "--reader", "Reader " + name(number)});
       }))
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
  std::set<std::string> tokens;
  for (const auto& token : nlohmann::json::parse(card.Host({"list", "--json"}).output))
    tokens.insert(token.at("reader").get<std::string>());
  EXPECT_EQ(tokens.size(), kCards + 1U);
}

TEST(ManyAtOnce, OfCardsOfOneNameOneIsMade) {
  const RealCard card({"--key", "p256"});
  int made = 0;
  for (const auto& result : AtOnce(6, [&](int) {
         return card.SoftCard({"init", "same", "--pin-file", card.Path("pin"), "--key", "p256"});
       })) {
    made += result.exitStatus == 0 ? 1 : 0;
    if (result.exitStatus != 0) {
      EXPECT_EQ(result.errors, "softcard: there is a card same already; choose another name\n");
    }
  }
  EXPECT_EQ(made, 1);
  EXPECT_EQ(card.SoftCard({"insert", "same", "--reader", "Other"}).exitStatus, 0);
  EXPECT_EQ(card.Host({"--reader", "Other", "list"}).exitStatus, 0);
}

TEST(ManyAtOnce, WrongPinsOfHostsThatRunTogetherAreAllCounted) {
  const RealCard card({"--key", "p256"});
  const std::string key = card.KeyID();
  const auto results = AtOnce(2, [&](int) { return card.Sign(key, "ecdsa-sha256", "wrong"); });
  for (const auto& result : results) EXPECT_EQ(result.exitStatus, 5) << result.errors;
  // A typed PIN is sent to the card twice: four tries are one more than there are.
  EXPECT_NE(card.SoftCard({"list"}).output.find("PIN locked"), std::string::npos);
}

}  // namespace
