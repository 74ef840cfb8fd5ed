#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/host/FakeCard.h"
#include "tests/host/commands/ProgramHelp.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

struct Program {
  const char* name;
  const char* path;
  size_t commands;

  std::string ManualPage() const { return std::string(QEL_MANUAL_PAGES "/") + name + ".1"; }
};

const Program kCtkhost = {"ctkhost", QEL_CTKHOST, 11};
const Program kSoftCard = {"softcard", QEL_SOFTCARD, 13};

void PrintTo(const Program& program, std::ostream* out) {
  *out << program.name;
}

class Help : public ::testing::TestWithParam<Program> {
 protected:
  const ProgramHelp m_help{GetParam().path};
};

TEST_P(Help, FitsEightyColumnsAndHasExamples) {
  const Lines helps = m_help.All();
  EXPECT_EQ(helps.size(), GetParam().commands + 1);
  for (const std::string& help : helps) {
    EXPECT_NE(help.find(std::string("Examples:\n  ") + GetParam().name + " "), std::string::npos) << help;
    EXPECT_NE(help.find("Exit status: 0 done"), std::string::npos) << help;
    for (const std::string& line : LinesOf(help)) EXPECT_LE(line.size(), 80u) << line;
  }
}

std::string TextOf(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

std::set<std::string> OptionsIn(const std::string& text) {
  const Lines named = MatchesIn(text, "(--[a-z-]+)");
  return {named.begin(), named.end()};
}

class ManualPage : public Help {};

TEST_P(ManualPage, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string page = std::regex_replace(TextOf(GetParam().ManualPage()), std::regex("\\\\-"), "-");
  EXPECT_EQ(OptionsIn(page), m_help.Options());
  EXPECT_EQ(MatchesIn(page, "^\\.SS ([a-z ]+)$"), m_help.Commands());
}

TEST_P(ManualPage, IsFormattedWithoutAWarning) {
  const ChildResult result = RunChild(QEL_GROFF, {"-man", "-ww", "-Tutf8", "-z", GetParam().ManualPage()});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
}

INSTANTIATE_TEST_SUITE_P(Of, Help, ::testing::Values(kCtkhost, kSoftCard));
INSTANTIATE_TEST_SUITE_P(Of, ManualPage, ::testing::Values(kCtkhost, kSoftCard));

using Words = std::set<std::string>;

Words WordsIn(const std::string& text) {
  const Lines lines = LinesOf(text);
  Words words(lines.begin(), lines.end());
  words.erase("");
  return words;
}

/// What every shell offers behind the words, the last of which is being typed.
const struct {
  const Program& program;
  const char* words;
  Words offered;
} kOffers[] = {
    {kCtkhost, "s", {"sign", "support"}},
    {kCtkhost, "--json li", {"list"}},
    {kCtkhost, "--t", {"--timeout", "--timing"}},
    {kCtkhost, "--ver", {"--verbose", "--version"}},
    {kCtkhost, "sign --o", {"--out"}},
    {kCtkhost, "sign --pin-", {"--pin-file"}},
    {kCtkhost, "--json agent --a", {"--always-ask"}},
    {kCtkhost, "agent --l", {"--lifetime"}},
    {kCtkhost, "agent -- ssh-keyge", {"ssh-keygen"}},
    {kCtkhost, "sign --algorithm ec", {"ecdsa-sha1", "ecdsa-sha224", "ecdsa-sha256", "ecdsa-sha384", "ecdsa-sha512"}},
    {kCtkhost, "list x", {}},
    {kSoftCard, "in", {"init", "insert"}},
    {kSoftCard, "--v", {"--version"}},
    {kSoftCard, "virtual --p", {"--port"}},
    {kSoftCard, "init --s", {"--serial", "--slot-type", "--slots"}},
    {kSoftCard, "init --over ", {"nss", "softhsm"}},
    {kSoftCard, "init new --key p3", {"p384"}},
    {kSoftCard, "pinpad ", {"cancel", "enter"}},
    {kSoftCard, "pinpad cancel --", {"--card", "--help", "--wait"}},
    {kSoftCard, "trace o", {"off", "on"}},
};

Words OfferedByBash(const Program& program, const std::string& words, const ChildEnvironment& environment = {}) {
  const std::string name = program.name;
  const std::string typed = words.empty() || words.back() == ' ' ? words + "''" : words;
  const std::string script = "source " QEL_COMPLETIONS "/" + name + ".bash; COMP_WORDS=(" + program.path + " " + typed +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _" + name +
                             "; printf '%s\\n' \"${COMPREPLY[@]}\"";
  const ChildResult result = RunChild("/bin/bash", {"-c", script}, environment);
  EXPECT_EQ(result.errors, "");
  return WordsIn(result.output);
}

Words AllCommands() {
  const Lines commands = ProgramHelp(QEL_CTKHOST).Commands();
  return {commands.begin(), commands.end()};
}

TEST(BashCompletion, OffersWhatTheHelpNames) {
  for (const auto& row : kOffers) EXPECT_EQ(OfferedByBash(row.program, row.words), row.offered) << row.words;
  EXPECT_EQ(OfferedByBash(kCtkhost, ""), AllCommands());
  EXPECT_EQ(OfferedByBash(kCtkhost, "agree --size 1"), Words{});
  EXPECT_EQ(OfferedByBash(kCtkhost, "sign --in " QEL_MANUAL_PAGES "/ctkhost.1"), Words{QEL_MANUAL_PAGES "/ctkhost.1"});
}

TEST(BashCompletion, OffersTheReadersAndTheIdentifiersOfACardsKeysAndCertificates) {
  const FakeCard card;
  const auto offered = [&](const std::string& words) {
    return OfferedByBash(kCtkhost, std::string("--extension ") + QEL_FAKE_BUNDLE + " " + words, card.Environment());
  };
  EXPECT_EQ(offered("sign --key "), (Words{"12a1", "12a2", "12a3", "12a4"}));
  EXPECT_EQ(offered("--reader 'Test\\ Reader' sign --key 12a4"), Words{"12a4"});
  EXPECT_EQ(offered("export --certificate "), Words{"11a1"});
  EXPECT_EQ(offered("list --reader T"), Words{"Test\\ Reader"});
  EXPECT_EQ(offered("list --reader '\"T'"), Words{"Test Reader"});
  EXPECT_EQ(offered("list --reader \\'E"), Words{"Empty Reader"});
  EXPECT_EQ(OfferedByBash(kSoftCard, "remove --reader T", card.Environment()), Words{"Test\\ Reader"});
  EXPECT_EQ(OfferedByBash(kSoftCard, "pinpad enter --card c", card.Environment()), Words{"card"});
}

TEST(ZshCompletion, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string file = TextOf(QEL_COMPLETIONS "/_ctkhost");
  const ProgramHelp help(QEL_CTKHOST);
  EXPECT_EQ(OptionsIn(file), help.Options());
  EXPECT_EQ(MatchesIn(file, "^    '([a-z]+):"), help.Commands());
  EXPECT_EQ(OptionsIn(TextOf(QEL_COMPLETIONS "/_softcard")), ProgramHelp(QEL_SOFTCARD).Options());
}

/// A real zsh at a terminal, which notes what its completion offers.
class Zsh {
 public:
  Zsh() {
    std::ofstream(m_home.Path() / ".zshrc")
        << "PS1='ready> '; LISTMAX=10000; fpath=(" QEL_COMPLETIONS
           " $fpath); autoload -Uz compinit; compinit -u -D\n"
           "compadd() {\n"  // notes what is offered; other calls of it only calculate
           "  local -a offered\n"
           "  if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\\ * ]]; then\n"
           "    builtin compadd -A offered \"$@\"; print -rl -- $offered >>$ZDOTDIR/offered\n"
           "  fi\n"
           "  builtin compadd \"$@\"\n"
           "}\n"
           "finish() { BUFFER=; zle -I; print finished }; zle -N finish; bindkey '^X' finish\n";
    ChildEnvironment environment = m_card.Environment();
    environment["ZDOTDIR"] = m_home.Path();
    environment["TERM"] = "xterm";
    m_zsh.emplace(QEL_ZSH, Lines{"-d", "-i"}, environment, RunningProgram::Output::Terminal);
    EXPECT_TRUE(m_zsh->Prints("ready> ")) << m_zsh->Printed();
  }

  Words Offered(const Program& program, const std::string& words) {
    std::filesystem::remove(m_home.Path() / "offered");
    m_zsh->Type(program.path + (" " + words) + "\t\x18");
    EXPECT_TRUE(m_zsh->Prints("finished")) << m_zsh->Printed();
    return WordsIn(TextOf(m_home.Path() / "offered"));
  }

 private:
  TemporaryDirectory m_home;
  FakeCard m_card;
  std::optional<RunningProgram> m_zsh;
};

TEST(ZshCompletion, OffersWhatTheHelpNames) {
  if (std::string(QEL_ZSH).find("NOTFOUND") != std::string::npos) GTEST_SKIP() << "there is no zsh here";
  Zsh zsh;
  for (const auto& row : kOffers) EXPECT_EQ(zsh.Offered(row.program, row.words), row.offered) << row.words;
  EXPECT_EQ(zsh.Offered(kCtkhost, ""), AllCommands());
  EXPECT_EQ(zsh.Offered(kCtkhost, "sign --in " QEL_MANUAL_PAGES "/ctkhost.1"), Words{"ctkhost.1"});
  EXPECT_EQ(zsh.Offered(kCtkhost, "list --reader T"), Words{"Test\\ Reader"});
  EXPECT_EQ(zsh.Offered(kSoftCard, "remove --reader T"), Words{"Test\\ Reader"});
}

TEST(ZshCompletion, OffersTheIdentifiersOfACardsKeysAndCertificates) {
  if (std::string(QEL_ZSH).find("NOTFOUND") != std::string::npos) GTEST_SKIP() << "there is no zsh here";
  Zsh zsh;
  const std::string fake = std::string("--extension ") + QEL_FAKE_BUNDLE;
  EXPECT_EQ(zsh.Offered(kCtkhost, fake + " sign --key "), (Words{"12a1", "12a2", "12a3", "12a4"}));
  EXPECT_EQ(zsh.Offered(kCtkhost, fake + " export --certificate "), Words{"11a1"});
}

}  // namespace
