#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/ux/ProgramHelp.h"

namespace {

struct Program {
  const char* name;
  const char* path;
  size_t commands;

  std::string ManualPage() const { return std::string(QEL_MANUAL_PAGES "/") + name + ".1"; }
};

const Program kCtkhost = {"ctkhost", QEL_CTKHOST, 10};
const Program kSoftCard = {"softcard", QEL_SOFTCARD, 10};

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
  const char* words;
  Words offered;
} kOffers[] = {
    {"s", {"sign", "support"}},
    {"--json li", {"list"}},
    {"--t", {"--timeout", "--timing"}},
    {"sign --o", {"--out"}},
    {"sign --pin-", {"--pin-file"}},
    {"--json agent --a", {"--always-ask"}},
    {"sign --algorithm ec", {"ecdsa-sha256", "ecdsa-sha384", "ecdsa-sha512"}},
    {"list x", {}},
};

Words OfferedByBash(const std::string& words) {
  const std::string script = "source " QEL_COMPLETIONS "/ctkhost.bash; COMP_WORDS=(" QEL_CTKHOST " " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ctkhost; printf '%s\\n' \"${COMPREPLY[@]}\"";
  const ChildResult result = RunChild("/bin/bash", {"-c", script});
  EXPECT_EQ(result.errors, "");
  return WordsIn(result.output);
}

Words AllCommands() {
  const Lines commands = ProgramHelp(QEL_CTKHOST).Commands();
  return {commands.begin(), commands.end()};
}

TEST(BashCompletion, OffersWhatTheHelpNames) {
  for (const auto& row : kOffers) EXPECT_EQ(OfferedByBash(row.words), row.offered) << row.words;
  EXPECT_EQ(OfferedByBash("''"), AllCommands());
  EXPECT_EQ(OfferedByBash("sign --key 1"), Words{});
  EXPECT_EQ(OfferedByBash("sign --in " QEL_MANUAL_PAGES "/ctkhost.1"), Words{QEL_MANUAL_PAGES "/ctkhost.1"});
}

TEST(ZshCompletion, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string file = TextOf(QEL_COMPLETIONS "/_ctkhost");
  const ProgramHelp help(QEL_CTKHOST);
  EXPECT_EQ(OptionsIn(file), help.Options());
  EXPECT_EQ(MatchesIn(file, "^    '([a-z]+):"), help.Commands());
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

  Words Offered(const std::string& words) {
    std::filesystem::remove(m_home.Path() / "offered");
    m_zsh->Type(QEL_CTKHOST " " + words + "\t\x18");
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
  for (const auto& row : kOffers) EXPECT_EQ(zsh.Offered(row.words), row.offered) << row.words;
  EXPECT_EQ(zsh.Offered(""), AllCommands());
  EXPECT_EQ(zsh.Offered("sign --in " QEL_MANUAL_PAGES "/ctkhost.1"), Words{"ctkhost.1"});
  EXPECT_EQ(zsh.Offered("list --reader T"), Words{"Test\\ Reader"});
}

TEST(ZshCompletion, OffersTheIdentifiersOfACardsKeysAndCertificates) {
  if (std::string(QEL_ZSH).find("NOTFOUND") != std::string::npos) GTEST_SKIP() << "there is no zsh here";
  Zsh zsh;
  const std::string fake = std::string("--extension ") + QEL_FAKE_BUNDLE;
  EXPECT_EQ(zsh.Offered(fake + " sign --key "), (Words{"12a1", "12a2", "12a3", "12a4"}));
  EXPECT_EQ(zsh.Offered(fake + " export --certificate "), Words{"11a1"});
}

TEST(Installation, PutsManualPagesAndCompletionsWhereTheyAreFound) {
  const TemporaryDirectory prefix;
  const ChildResult result = RunChild(QEL_CMAKE, {"--install", QEL_BUILD_DIR, "--prefix", prefix.Path()});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  std::map<std::string, std::string> expected = {
      {"bash-completion/completions/ctkhost", QEL_COMPLETIONS "/ctkhost.bash"},
      {"zsh/site-functions/_ctkhost", QEL_COMPLETIONS "/_ctkhost"},
  };
  for (const auto& page : std::filesystem::directory_iterator(QEL_MANUAL_PAGES))
    expected["man/man1/" + page.path().filename().string()] = page.path();
  EXPECT_EQ(expected.count("man/man1/ctkhost.1"), 1u);
  for (const auto& [installed, source] : expected)
    EXPECT_EQ(TextOf(prefix.Path() / "share" / installed), TextOf(source)) << installed;
}

}  // namespace
