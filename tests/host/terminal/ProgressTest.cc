// What a user at a terminal sees while the card works.

#include "host/terminal/Progress.h"

#include <gmock/gmock.h>
#include <signal.h>

#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using Output = RunningProgram::Output;

namespace {

constexpr char kErase[] = "\r\x1b[K";
constexpr char kPrompt[] = "PIN of card QEL-FAKE in reader \"Test Reader\" (2 tries left): ";

std::string Shown(const std::string& text) {
  return kErase + text + "\r";
}

class ProgressAtATerminal : public ::testing::Test {
 protected:
  void Start(std::vector<std::string> arguments, Output output = Output::Terminal, const char* terminal = "xterm") {
    ChildEnvironment environment = m_card.Environment();
    environment["TERM"] = terminal;
    environment["NO_COLOR"] = "1";
    if (arguments.front() != "--extension") arguments.insert(arguments.begin(), {"--extension", QEL_FAKE_BUNDLE});
    m_program.emplace(QEL_CTKHOST, arguments, environment, output);
  }

  /// Starts a signature that logs in, and waits for the PIN's prompt.
  void StartSigning() {
    m_card.Script("signData", {"error CryptoTokenKit -9", "ok"});
    Start(m_card.SignArguments());
  }

  std::string PrintedUntilTheEnd(std::optional<int> status = 0) {
    EXPECT_EQ(m_program->Wait(), status) << m_program->Printed();
    return m_program->Printed();
  }

  FakeCard m_card;
  std::optional<RunningProgram> m_program;
};

TEST_F(ProgressAtATerminal, NamesWhatIsWaitedForAndIsGoneBeforeTheResult) {
  m_card.Script("createToken", {"slow 700"});
  Start({"list"});
  EXPECT_THAT(PrintedUntilTheEnd(), HasSubstr(Shown("Reading the card ...") + kErase + "Token QEL-FAKE"));
}

TEST_F(ProgressAtATerminal, CountsTheSecondsOfALongWait) {
  m_card.Script("createToken", {"slow 2600"});
  Start({"list"});
  EXPECT_THAT(PrintedUntilTheEnd(), HasSubstr(Shown("Reading the card ...") + Shown("Reading the card ... 1 s") +
                                              Shown("Reading the card ... 2 s")));
}

TEST_F(ProgressAtATerminal, IsGoneBeforeThePinIsAskedFor) {
  m_card.Script("beginAuth", {"slow 700"});
  StartSigning();
  EXPECT_TRUE(m_program->Prints(Shown("Waiting for the card ...") + kErase + kPrompt)) << m_program->Printed();
  m_program->Type("1234\n");
  EXPECT_THAT(PrintedUntilTheEnd(), HasSubstr(": 6 bytes\r\n"));
}

TEST_F(ProgressAtATerminal, DoesNotRunWhileThePinIsTyped) {
  StartSigning();
  ASSERT_TRUE(m_program->Prints(kPrompt)) << m_program->Printed();
  EXPECT_FALSE(m_program->Prints("...", std::chrono::milliseconds(800))) << m_program->Printed();
}

TEST_F(ProgressAtATerminal, SaysThatThePinIsCheckedOrWaitedForAtTheReader) {
  m_card.Script("finishAuth", {"slow 700"});
  StartSigning();
  ASSERT_TRUE(m_program->Prints(kPrompt)) << m_program->Printed();
  m_program->Type("1234\n");
  EXPECT_THAT(PrintedUntilTheEnd(), HasSubstr(Shown("Checking the PIN ...")));
  m_card.Script("beginAuth", {"kind none"});
  std::filesystem::remove(m_card.Path("signData.times"));
  StartSigning();
  EXPECT_THAT(PrintedUntilTheEnd(), HasSubstr(Shown("Waiting for the PIN on the reader ...")));
}

TEST_F(ProgressAtATerminal, IsGoneBeforeAnError) {
  m_card.Script("createToken", {"hang"});
  Start({"list", "--timeout", "1"});
  EXPECT_THAT(PrintedUntilTheEnd(1), HasSubstr(kErase + std::string("ctkhost: reading the card in ")));
}

TEST_F(ProgressAtATerminal, IsGoneWhenAnInterruptEndsTheProgram) {
  m_card.Script("createToken", {"hang"});
  Start({"list"});
  ASSERT_TRUE(m_program->Prints(Shown("Reading the card ..."))) << m_program->Printed();
  m_program->Signal(SIGINT);
  const std::string printed = PrintedUntilTheEnd(std::nullopt);
  EXPECT_EQ(printed.rfind(kErase), printed.size() - (sizeof kErase - 1)) << printed;
}

TEST_F(ProgressAtATerminal, AQuickAnswerShowsNothing) {
  using std::chrono::steady_clock;
  std::string printed;
  for (int attempt = 0; attempt < 20; ++attempt) {  // until this machine lets one be quick
    const auto start = steady_clock::now();
    Start({"list"});
    printed = PrintedUntilTheEnd();
    if (steady_clock::now() - start < Host::Progress::kSilence) break;
  }
  EXPECT_THAT(printed, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr(" ..."))));
}

struct Silent {
  const char* why;
  Output output;
  const char* terminal;
};

TEST_F(ProgressAtATerminal, IsNotShownWhereItCouldNotBeErased) {
  m_card.Script("createToken", {"slow 700"});
  for (const auto& [why, output, terminal] :
       {Silent{"no terminal", Output::Pipe, "xterm"}, Silent{"a dumb one", Output::Terminal, "dumb"}}) {
    Start({"list"}, output, terminal);
    EXPECT_THAT(PrintedUntilTheEnd(), Not(HasSubstr("Reading"))) << why;
  }
}

TEST_F(ProgressAtATerminal, IsNotShownInAWatch) {
  m_card.Script("createToken", {"slow 700"});
  Start({"watch"});
  ASSERT_TRUE(m_program->Prints("QEL-FAKE,")) << m_program->Printed();
  m_program->Type("q");
  EXPECT_THAT(PrintedUntilTheEnd(), Not(HasSubstr("Reading the card")));
}

TEST_F(ProgressAtATerminal, LeavesTheOutputOfAProgramAlone) {
  m_card.Script("createToken", {"slow 700"});
  ChildEnvironment environment = m_card.Environment();
  environment["TERM"] = "xterm";
  const std::string command =
      "exec '" QEL_CTKHOST "' --extension '" QEL_FAKE_BUNDLE "' --json list >'" + m_card.Path("list.json") + "'";
  m_program.emplace("/bin/sh", std::vector<std::string>{"-c", command}, environment, Output::Terminal);
  EXPECT_THAT(PrintedUntilTheEnd(),
              AllOf(HasSubstr(Shown("Reading the card ...") + kErase), Not(HasSubstr("QEL-FAKE"))));
  EXPECT_EQ(m_card.Text("list.json").front(), '[');
}

}  // namespace
