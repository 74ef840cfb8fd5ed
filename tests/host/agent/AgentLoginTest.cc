#include <gtest/gtest.h>
#include <signal.h>

#include "tests/host/agent/CardAgent.h"

namespace {

using Pin = CardAgent::Pin;

/// Whether a connection of its own gets a signature from the agent's first key.
bool Signs(const CardAgent& agent) {
  return IsSigned(AgentClient(agent.Socket()).Ask(SignRequest(agent.KeyBlobs().at(0), "data", 2)));
}

TEST(AgentLogin, ServesAllClientsUntilTheCardIsRemoved) {
  const CardAgent agent({"p256"}, Pin::AskPass);
  EXPECT_EQ(agent.Keys().size(), 1u);
  EXPECT_EQ(agent.TimesAsked(), 0);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 1);
  ASSERT_EQ(agent.Card().SoftCard({"remove"}).exitStatus, 0);
  EXPECT_EQ(agent.Run(QEL_SSH_ADD, {"-L"}).output, "The agent has no identities.\n");
  ASSERT_EQ(agent.Card().SoftCard({"insert", "card"}).exitStatus, 0);
  EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 2);
}

TEST(AgentLogin, EndsWithACardThatWasExchangedUnseen) {
  const CardAgent agent({"p256"}, Pin::AskPass);
  EXPECT_TRUE(Signs(agent));
  ASSERT_EQ(agent.Card().SoftCard({"remove"}).exitStatus, 0);
  ASSERT_EQ(agent.Card().SoftCard({"insert", "card"}).exitStatus, 0);
  EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 2);
}

TEST(AgentLogin, IsForEachSignatureWhenAlwaysAsked) {
  const CardAgent agent({"p256"}, Pin::AskPass, {"--always-ask"});
  for (int i = 1; i <= 3; ++i) {
    EXPECT_TRUE(Signs(agent));
    EXPECT_EQ(agent.TimesAsked(), i);
  }
}

TEST(AgentLogin, EndsWithItsLifetimeAlsoWhenNobodyAsks) {
  const CardAgent agent({"p256"}, Pin::AskPass, {"-t", "2s"});
  const auto traced = [&](const std::string& call) {
    return agent.Card().Text("trace").find(call) != std::string::npos;
  };
  ASSERT_EQ(agent.Card().SoftCard({"trace", "on", agent.Card().Path("trace")}).exitStatus, 0);
  EXPECT_TRUE(Signs(agent));
  EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 1);
  EXPECT_FALSE(traced("C_CloseSession"));
  for (int i = 0; i < 2000 && !traced("C_CloseSession"); ++i) usleep(10000);
  EXPECT_TRUE(traced("C_CloseSession"));
  EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 2);
}

TEST(AgentLogin, DoesNotTryAWrongPinFileAgainBecauseTimeHasPassed) {
  const CardAgent agent({"p256"}, Pin::File, {"--lifetime", "1"});
  agent.Card().Write("pin", "wrong\n");
  EXPECT_FALSE(Signs(agent));
  usleep(1500000);
  agent.Card().Write("pin", RealCard::Pin() + "\n");
  EXPECT_FALSE(Signs(agent));
}

TEST(AgentLogin, AsksForThePinOfTheKeyAndWarnsOfTheTriesLeft) {
  const CardAgent agent({"p256"}, Pin::AskPass);
  agent.OnAsking("cat '" + agent.Card().Path("wrong") + "'");
  EXPECT_FALSE(Signs(agent));
  agent.OnAsking("cat '" + agent.Card().Path("pin") + "'");
  EXPECT_TRUE(Signs(agent));
  const std::string asked = agent.Card().Text("asked");
  const std::string key = "SSH key EC P-256 key 1 (EC P-256 key 1), PIN of card ";
  EXPECT_EQ(asked.rfind(key, 0), 0U) << asked;
  EXPECT_NE(asked.find(" in reader \"QEL Soft Reader 00\" (3 tries left): \n" + key), std::string::npos) << asked;
  EXPECT_NE(asked.find(" (1 try left): \n"), std::string::npos) << asked;
}

TEST(AgentLogin, ACancelledPinRefusesThatSignatureOnly) {
  CardAgent agent({"p256"}, Pin::AskPass);
  agent.OnAsking("exit 1");
  EXPECT_FALSE(Signs(agent));
  EXPECT_TRUE(agent.Process().WaitFor("ctkhost: PIN entry was cancelled\n"));
  agent.OnAsking("cat '" + agent.Card().Path("pin") + "'");
  EXPECT_TRUE(Signs(agent));
}

TEST(AgentLogin, DoesNotTryAWrongPinFileAgain) {
  const CardAgent agent({"p256"}, Pin::File);
  agent.Card().Write("pin", "wrong\n");
  for (int i = 0; i < 4; ++i) EXPECT_FALSE(Signs(agent));
  agent.Card().Write("pin", RealCard::Pin() + "\n");
  EXPECT_FALSE(Signs(agent));
  ASSERT_EQ(agent.Card().SoftCard({"remove"}).exitStatus, 0);
  ASSERT_EQ(agent.Card().SoftCard({"insert", "card"}).exitStatus, 0);
  EXPECT_TRUE(Signs(agent));
}

TEST(AgentLogin, IsAskedForAgainAfterTheExtensionWasEndedBetweenTwoRequests) {
  CardAgent agent({"p256"}, Pin::AskPass);
  EXPECT_TRUE(Signs(agent));
  const std::string host = std::to_string(agent.Process().ProcessId());
  const std::string kill =
      "child=$(cat /proc/" + host + "/task/" + host +
      "/children) && kill -9 $child && until grep -q 'State:.Z' /proc/$((child))/status; do sleep 0.01; done";
  ASSERT_EQ(RunChild("/bin/sh", {"-c", kill}).exitStatus, 0);
  EXPECT_TRUE(Signs(agent));
  EXPECT_EQ(agent.TimesAsked(), 2);
}

TEST(AgentProcess, RemovesItsSocketWhenItIsEndedAlsoWhileItAsks) {
  for (const bool asking : {false, true}) {
    CardAgent agent({"p256"}, Pin::AskPass);
    agent.OnAsking("exec sleep 100");
    AgentClient client(agent.Socket());
    if (asking) client.Send(SignRequest(agent.KeyBlobs().at(0), "data", 0));
    while (asking && agent.TimesAsked() == 0) usleep(10000);
    EXPECT_EQ(agent.Process().Stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(agent.Socket()));
  }
}

TEST(AgentProcess, LockingHidesTheKeysFromOpenSsh) {
  const CardAgent agent({"p256"});
  AgentClient client(agent.Socket());
  EXPECT_EQ(client.Ask(Ssh::Writer().Byte(22).String("word").Take()), Ssh::Bytes{6});
  EXPECT_EQ(agent.Run(QEL_SSH_ADD, {"-L"}).output, "The agent has no identities.\n");
  EXPECT_EQ(client.Ask(Ssh::Writer().Byte(23).String("word").Take()), Ssh::Bytes{6});
  EXPECT_EQ(agent.Keys().size(), 1u);
}

TEST(AgentProcess, StartsWithoutACardAndTakesNoPinFromStandardInput) {
  const RealCard card({"--key", "p256"});
  EXPECT_EQ(card.HostWithPinFile("pin", {"--pin-file", "-", "agent"}).exitStatus, 2);
}

}  // namespace
