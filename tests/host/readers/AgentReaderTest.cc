// An agent whose card is in a reader of a real smart-card service: one login serves until the card is removed.

#include <gtest/gtest.h>
#include <unistd.h>

#include <optional>

#include "tests/host/agent/CardAgent.h"
#include "tests/host/readers/ReaderCard.h"

namespace {

const std::string kReader = ReaderService::ReaderName();

class AgentReaders : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string obstacle = ReaderService::Obstacle();
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
    m_service.emplace();
    m_agent.emplace(std::vector<std::string>{"p256"}, CardAgent::Pin::AskPass,
                    std::vector<std::string>{"--reader", kReader});
    ASSERT_EQ(Card().SoftCard({"remove"}).exitStatus, 0);
    PutBehindTheReader(Card());
    Insert();
    m_key = KeyOf(1);
    ASSERT_TRUE(Signs());
    ASSERT_TRUE(Signs());
    ASSERT_EQ(m_agent->TimesAsked(), 1);
  }

  const RealCard& Card() const { return m_agent->Card(); }

  void Insert() {
    m_inserted.emplace(*m_service);
    ASSERT_TRUE(Shows(Card(), "card "));
  }
  void Remove() {
    m_inserted.reset();
    ASSERT_TRUE(Shows(Card(), "empty"));
  }

  /// The key that the agent shows, once it shows `count`; empty when it does not.
  Ssh::Bytes KeyOf(size_t count) const {
    std::vector<Ssh::Bytes> keys;
    for (int attempt = 0; attempt < 100; ++attempt, usleep(100000))
      if (keys = m_agent->KeyBlobs(); keys.size() == count) break;
    EXPECT_EQ(keys.size(), count);
    return keys.empty() ? Ssh::Bytes() : keys.front();
  }

  bool Signs() const { return IsSigned(AgentClient(m_agent->Socket()).Ask(SignRequest(m_key, "data", 0))); }

  std::optional<ReaderService> m_service;
  std::optional<CardAgent> m_agent;
  std::optional<VirtualCard> m_inserted;
  Ssh::Bytes m_key;
};

// The library is never told: it is the agent that must end the login.

TEST_F(AgentReaders, ACardThatIsTakenOutAndPutBackBetweenTwoSignaturesLogsInAnew) {
  Remove();
  Insert();
  EXPECT_TRUE(Signs());
  EXPECT_EQ(m_agent->TimesAsked(), 2);
}

TEST_F(AgentReaders, TheTokenEndsWithTheCardAndNotWithTheNextRequest) {
  ASSERT_EQ(Card().Text("trace").find("C_CloseSession"), std::string::npos);
  Remove();
  for (int attempt = 0; attempt < 100; ++attempt, usleep(100000))
    if (Card().Text("trace").find("C_CloseSession") != std::string::npos) return;
  FAIL() << Card().Text("trace");
}

TEST_F(AgentReaders, ACardThatWasExchangedBetweenTwoSignaturesDoesNotServeForTheFirst) {
  Remove();
  ASSERT_EQ(Card().SoftCard({"init", "other", "--pin-file", Card().Path("pin"), "--key", "p256"}).exitStatus, 0);
  ASSERT_EQ(Card().SoftCard({"remove", "--reader", SoftSlot()}).exitStatus, 0);
  PutBehindTheReader(Card(), "other");
  Insert();
  EXPECT_FALSE(Signs());
  EXPECT_EQ(m_agent->TimesAsked(), 1);
  const Ssh::Bytes first = m_key;
  m_key = KeyOf(1);
  EXPECT_NE(m_key, first);
  EXPECT_TRUE(Signs());
  EXPECT_EQ(m_agent->TimesAsked(), 2);
}

TEST_F(AgentReaders, AServiceThatIsStoppedAndStartedLogsInAnew) {
  m_service->Stop();
  m_inserted.reset();
  m_service->Start();
  Insert();
  m_key = KeyOf(1);
  EXPECT_TRUE(Signs());
  EXPECT_EQ(m_agent->TimesAsked(), 2);
}

TEST_F(AgentReaders, WithoutTheServiceThereAreNoKeysAndTheAgentSaysWhyAndGoesOn) {
  m_service->Stop();
  m_inserted.reset();
  EXPECT_TRUE(m_agent->Process().WaitFor(
      "ctkhost: the smart-card service (pcscd) does not run; start it to use real readers\n"));
  KeyOf(0);
  EXPECT_FALSE(Signs());
  EXPECT_EQ(m_agent->TimesAsked(), 1);
}

TEST_F(AgentReaders, AReaderThatGoesWhileThePinIsTypedCostsThatSignatureAndTheErrorSaysWhatToDo) {
  Remove();
  Insert();
  const std::string asking = Card().Path("asking"), gone = Card().Path("gone");
  m_agent->OnAsking("touch '" + asking + "'; until test -e '" + gone + "'; do sleep 0.02; done; cat '" +
                    Card().Path("pin") + "'");
  AgentClient client(m_agent->Socket());
  ASSERT_TRUE(client.Send(SignRequest(m_key, "data", 0)));
  for (int attempt = 0; attempt < 1000 && !Card().Has("asking"); ++attempt) usleep(20000);
  m_service->Stop();
  m_inserted.reset();
  ASSERT_EQ(Card().SoftCard({"remove", "--reader", SoftSlot()}).exitStatus, 0);
  Card().Write("gone", "");
  EXPECT_FALSE(IsSigned(client.Receive()));
  EXPECT_TRUE(m_agent->Process().WaitFor(
      "ctkhost: signing failed: the reader " + kReader +
      " is gone, because the smart-card service (pcscd) does not run; start it to use real readers"))
      << m_agent->Process().Log();
  m_service->Start();
  PutBehindTheReader(Card());
  Insert();
  KeyOf(1);
  EXPECT_TRUE(Signs());
}

}  // namespace
