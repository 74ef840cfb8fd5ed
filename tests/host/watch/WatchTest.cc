#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "softcard/state/State.h"
#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"

namespace {

using Output = RunningProgram::Output;
using nlohmann::json;

constexpr char kEnter[] = "\x1b[?1049h", kLeave[] = "\x1b[?1049l", kShowCursor[] = "\x1b[?25h", kBold[] = "\x1b[1m";
constexpr char kCtrlC[] = "\x03";

class WatchTest : public ::testing::Test {
 protected:
  void Start(Output output, std::vector<std::string> arguments = {}, const ChildEnvironment& more = {}) {
    ChildEnvironment environment = m_card.Environment();
    environment["TERM"] = "xterm";
    environment["NO_COLOR"] = std::nullopt;
    for (const auto& [name, value] : more) environment[name] = value;
    arguments.insert(arguments.begin(), {"watch", "--extension", QEL_FAKE_BUNDLE, "--timeout", "5"});
    m_watch.emplace(QEL_CTKHOST, arguments, environment, output);
  }

  void StartScreen(const ChildEnvironment& more = {}) {
    Start(Output::Terminal, {}, more);
    ASSERT_TRUE(m_watch->Prints("QEL-FAKE,")) << m_watch->Printed();
    ASSERT_TRUE(m_watch->Prints("\x1b[J")) << m_watch->Printed();
  }

  bool Prints(const std::string& text) { return m_watch->Prints(text); }

  void Insert(const std::string& reader, const std::string& card) const {
    SoftCard::Update(m_card.Path("cards"), [&](SoftCard::State& state) {
      state.FindReader(reader)->card = card;
      state.FindReader(reader)->insertions++;
    });
  }

  FakeCard m_card;
  std::optional<RunningProgram> m_watch;
};

TEST_F(WatchTest, PrintsALineForEachEventWhenPiped) {
  Start(Output::Pipe);
  EXPECT_TRUE(Prints("watching\n"));
  EXPECT_TRUE(Prints("reader Empty Reader: empty\nreader Test Reader: card\n")) << m_watch->Printed();
  EXPECT_TRUE(Prints("token QEL-FAKE of ")) << m_watch->Printed();
  EXPECT_TRUE(Prints(" items in Test Reader\n")) << m_watch->Printed();
  Insert("Test Reader", "");
  EXPECT_TRUE(Prints("ended QEL-FAKE\nreader Test Reader: empty\n")) << m_watch->Printed();
  Insert("Empty Reader", "card");
  EXPECT_TRUE(Prints("reader Empty Reader: card\ntoken QEL-FAKE")) << m_watch->Printed();
  EXPECT_EQ(m_watch->Printed().find('\x1b'), std::string::npos);
}

TEST_F(WatchTest, TellsOfAReaderThatGoes) {
  Start(Output::Pipe);
  EXPECT_TRUE(Prints("token QEL-FAKE"));
  SoftCard::Update(m_card.Path("cards"), [](SoftCard::State& state) { state.readers.pop_back(); });
  EXPECT_TRUE(Prints("ended QEL-FAKE\nreader Test Reader: gone\n")) << m_watch->Printed();
}

TEST_F(WatchTest, WatchesOnlyTheReaderThatIsAskedFor) {
  Start(Output::Pipe, {"--reader", "Test Reader"});
  EXPECT_TRUE(Prints("token QEL-FAKE"));
  EXPECT_EQ(m_watch->Printed().find("Empty Reader"), std::string::npos);
}

TEST_F(WatchTest, ACardWithoutATokenIsToldOfAndTheNextOneIsRead) {
  m_card.Script("createToken", {"error CryptoTokenKit -8", "ok"});
  Start(Output::Pipe);
  EXPECT_TRUE(Prints("failed: the card in \"Test Reader\" cannot be used")) << m_watch->Printed();
  Insert("Test Reader", "card");
  EXPECT_TRUE(Prints("token QEL-FAKE")) << m_watch->Printed();
}

TEST_F(WatchTest, ASignalEndsItInOrder) {
  Start(Output::Pipe);
  EXPECT_TRUE(Prints("token QEL-FAKE"));
  m_watch->Signal(SIGTERM);
  EXPECT_EQ(m_watch->Wait(), 0);
  EXPECT_NE(m_watch->Printed().find("ended QEL-FAKE\n"), std::string::npos) << m_watch->Printed();
  EXPECT_EQ(m_card.Calls().back(), "left");
}

TEST_F(WatchTest, PrintsJsonLinesForPrograms) {
  Start(Output::Terminal, {"--json"});
  EXPECT_TRUE(Prints("\"event\":\"token\"")) << m_watch->Printed();
  Insert("Test Reader", "");
  EXPECT_TRUE(Prints("\"empty\"}\r\n")) << m_watch->Printed();
  m_watch->Signal(SIGTERM);
  EXPECT_EQ(m_watch->Wait(), 0);
  std::map<std::string, json> last;
  std::istringstream in(m_watch->Printed());
  for (std::string line; std::getline(in, line);) {
    const json event = json::parse(line);
    last[event.at("event")] = event;
  }
  ASSERT_EQ(last.count("watching"), 1u);
  EXPECT_FALSE(last["service"].at("answers").get<bool>());
  EXPECT_EQ(last["token"].at("token").at("instanceID"), "QEL-FAKE");
  EXPECT_EQ(last["token"].at("token").at("items").at(1).at("objectID"), "12a1");
  EXPECT_EQ(last["ended"].at("instanceID"), "QEL-FAKE");
  EXPECT_EQ(last["reader"], json({{"event", "reader"}, {"reader", "Test Reader"}, {"state", "empty"}}));
}

TEST_F(WatchTest, ATerminalThatCannotRedrawGetsLines) {
  Start(Output::Terminal, {}, {{"TERM", "dumb"}});
  EXPECT_TRUE(Prints("token QEL-FAKE of ")) << m_watch->Printed();
  EXPECT_EQ(m_watch->Printed().find('\x1b'), std::string::npos);
}

TEST_F(WatchTest, RedrawsATerminalInPlace) {
  StartScreen();
  EXPECT_EQ(m_watch->Printed().rfind(kEnter, 0), 0u);
  EXPECT_NE(m_watch->Printed().find(kBold), std::string::npos);
  Insert("Test Reader", "");
  EXPECT_TRUE(Prints("\x1b[H")) << m_watch->Printed();
  EXPECT_TRUE(Prints("reader Test Reader: empty")) << m_watch->Printed();
  Insert("Empty Reader", "card");
  EXPECT_TRUE(Prints("reading")) << m_watch->Printed();
  EXPECT_TRUE(Prints("QEL-FAKE,")) << m_watch->Printed();
}

TEST_F(WatchTest, HasNoColoursWithNoColor) {
  StartScreen({{"NO_COLOR", "1"}});
  EXPECT_EQ(m_watch->Printed().find(kBold), std::string::npos);
}

TEST_F(WatchTest, FollowsTheSizeOfTheTerminal) {
  StartScreen();
  m_watch->Resize(80, 5);
  EXPECT_TRUE(Prints("arrows scroll")) << m_watch->Printed();
  m_watch->Resize(80, 40);
  EXPECT_TRUE(Prints("QEL-FAKE,")) << m_watch->Printed();
}

TEST_F(WatchTest, EndsWithKeysAndLeavesTheTerminalClean) {
  for (const std::string key : {"q", "Q", kCtrlC, "\x04"}) {
    StartScreen();
    EXPECT_FALSE(m_watch->Echoes());
    m_watch->Type(key);
    ASSERT_TRUE(Prints(kShowCursor)) << m_watch->Printed();
    ASSERT_TRUE(Prints(kLeave)) << m_watch->Printed();
    EXPECT_EQ(m_watch->Wait(), 0);
    EXPECT_TRUE(m_watch->Echoes());
  }
}

TEST_F(WatchTest, OtherKeysDoNothing) {
  StartScreen();
  m_watch->Type("x\x1a\n");
  Insert("Test Reader", "");
  EXPECT_TRUE(Prints("reader Test Reader: empty")) << m_watch->Printed();
}

}  // namespace
