#include "softcard/state/State.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "tests/support/TemporaryDirectory.h"

namespace fs = std::filesystem;

namespace {

class SoftCardState : public ::testing::Test {
 protected:
  TemporaryDirectory m_temporary;
  const fs::path m_directory = m_temporary.Path() / "state";
};

TEST_F(SoftCardState, AFolderThatDoesNotExistHoldsNoReaders) {
  EXPECT_TRUE(SoftCard::Load(m_directory).readers.empty());
  EXPECT_FALSE(fs::exists(m_directory)) << "reading makes nothing";
}

TEST_F(SoftCardState, EverythingWrittenIsReadBack) {
  SoftCard::Update(m_directory, [](SoftCard::State& state) {
    state.readers = {{"Reader ä 00", "demo", 7}, {"Second", "", 0}};
    state.cards = {{"demo", "4711", true, 0x80000003UL, {{"one", "aa", 2}, {"two", "bb", 0}}}};
    state.trace = "/some/file";
    state.library = "/lib/x.so";
    state.parameters = "configdir='sql:x'";
  });
  auto state = SoftCard::Load(m_directory);
  ASSERT_EQ(state.readers.size(), 2U);
  EXPECT_EQ(state.readers[0].name, "Reader ä 00");
  EXPECT_EQ(state.readers[0].card, "demo");
  EXPECT_EQ(state.readers[0].insertions, 7U);
  ASSERT_NE(state.FindCard("demo"), nullptr);
  const auto& card = *state.FindCard("demo");
  EXPECT_EQ(card.serial, "4711");
  EXPECT_TRUE(card.pinPad);
  EXPECT_EQ(card.slotType, 0x80000003UL);
  ASSERT_EQ(card.tokens.size(), 2U);
  EXPECT_EQ(card.tokens[0].label, "one");
  EXPECT_EQ(card.tokens[0].serial, "aa");
  EXPECT_EQ(card.tokens[0].triesLeft, 2);
  EXPECT_EQ(card.tokens[1].triesLeft, 0);
  EXPECT_EQ(state.trace, "/some/file");
  EXPECT_EQ(state.library, "/lib/x.so");
  EXPECT_EQ(state.parameters, "configdir='sql:x'");
  EXPECT_EQ(state.FindReader("Third"), nullptr);
}

TEST_F(SoftCardState, OnlyTheOwnerMayReadIt) {
  SoftCard::Update(m_directory, [](SoftCard::State&) {});
  EXPECT_EQ(fs::status(m_directory).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(m_directory / "state.json").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(SoftCardState, WritersOfOneFileDisturbNeitherEachOtherNorReaders) {
  SoftCard::MakePrivateDirectory(m_directory);
  const auto file = m_directory / "some.conf";
  SoftCard::WritePrivateFile(file, "the same text\n");
  std::vector<std::thread> writers;
  for (int i = 0; i < 8; i++)
    writers.emplace_back([&] {
      for (int round = 0; round < 20; round++) EXPECT_NO_THROW(SoftCard::WritePrivateFile(file, "the same text\n"));
    });
  for (int round = 0; round < 200; round++) {
    std::ifstream in(file);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "the same text\n");
  }
  for (auto& writer : writers) writer.join();
  EXPECT_EQ(std::distance(fs::directory_iterator(m_directory), fs::directory_iterator()), 1) << "nothing is left";
}

TEST_F(SoftCardState, AChangeThatThrowsLeavesTheOldState) {
  SoftCard::Update(m_directory, [](SoftCard::State& state) { state.trace = "before"; });
  EXPECT_THROW(SoftCard::Update(m_directory,
                                [](SoftCard::State& state) {
                                  state.trace = "after";
                                  throw std::runtime_error("changed my mind");
                                }),
               std::runtime_error);
  EXPECT_EQ(SoftCard::Load(m_directory).trace, "before");
}

TEST_F(SoftCardState, ChangesFromSeveralThreadsAllArrive) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; i++)
    threads.emplace_back([&] {
      for (int n = 0; n < 10; n++)
        SoftCard::Update(m_directory, [](SoftCard::State& state) { state.readers.push_back({"r", "", 0}); });
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(SoftCard::Load(m_directory).readers.size(), 40U);
}

TEST_F(SoftCardState, ANumberWithAFractionIsNoState) {
  fs::create_directory(m_directory);
  std::ofstream(m_directory / "state.json") << R"({"cards": [{"slotType": 1e300}]})";
  EXPECT_THROW(SoftCard::Load(m_directory), std::runtime_error);
}

TEST_F(SoftCardState, AFileThatIsNoStateIsNamedInTheError) {
  fs::create_directory(m_directory);
  for (const char* text : {"", "{", "[]", R"({"readers": 5})"}) {
    std::ofstream(m_directory / "state.json") << text;
    try {
      SoftCard::Load(m_directory);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const std::runtime_error& error) {
      EXPECT_NE(std::string(error.what()).find("state.json: not a soft card state"), std::string::npos) << error.what();
    }
  }
}

TEST_F(SoftCardState, TheFolderIsTheEnvironmentsElseAmongTheUsersStates) {
  setenv("HOME", "/users/u", 1);
  setenv("XDG_STATE_HOME", "/states", 1);
  setenv("QEL_SOFTCARD_DIR", "/somewhere", 1);
  EXPECT_EQ(SoftCard::StateDirectory(), "/somewhere");
  setenv("QEL_SOFTCARD_DIR", "", 1);
  EXPECT_EQ(SoftCard::StateDirectory(), "/states/qeltoken/softcard");
  unsetenv("QEL_SOFTCARD_DIR");
  EXPECT_EQ(SoftCard::StateDirectory(), "/states/qeltoken/softcard");
  setenv("XDG_STATE_HOME", "relative", 1);
  EXPECT_EQ(SoftCard::StateDirectory(), "/users/u/.local/state/qeltoken/softcard");
  unsetenv("XDG_STATE_HOME");
  EXPECT_EQ(SoftCard::StateDirectory(), "/users/u/.local/state/qeltoken/softcard");
}

}  // namespace
