#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Lines MatchesIn(const std::string& text, const char* pattern) {
  const std::regex regex(pattern, std::regex::multiline);
  Lines matches;
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
    matches.push_back((*match)[1]);
  return matches;
}

std::string HelpOf(const std::string& command) {
  const Lines arguments = command.empty() ? Lines{"--help"} : Lines{command, "--help"};
  const ChildResult result = RunChild(QEL_CTKHOST, arguments);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  return result.output;
}

Lines Commands() {
  const std::string help = HelpOf("");
  const std::string commands = help.substr(help.find("Commands:"));
  return MatchesIn(commands.substr(0, commands.find("\n\n")), "^  ([a-z]+) ");
}

/// The program's own help and that of every command.
Lines AllHelps() {
  Lines helps = {HelpOf("")};
  for (const std::string& command : Commands()) helps.push_back(HelpOf(command));
  return helps;
}

TEST(Help, FitsEightyColumnsAndHasExamples) {
  const Lines helps = AllHelps();
  EXPECT_EQ(helps.size(), 11u);
  for (const std::string& help : helps) {
    EXPECT_NE(help.find("Examples:\n  ctkhost "), std::string::npos) << help;
    EXPECT_NE(help.find("Exit status: 0 done"), std::string::npos) << help;
    for (const std::string& line : LinesOf(help)) EXPECT_LE(line.size(), 80u) << line;
  }
}

std::string TextOf(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

/// The manual page, as it is read: with plain hyphens.
std::string ManualPage() {
  return std::regex_replace(TextOf(QEL_MANUAL_PAGE), std::regex("\\\\-"), "-");
}

std::set<std::string> AllOptions() {
  std::set<std::string> options;
  for (const std::string& help : AllHelps())
    for (const std::string& option : MatchesIn(help.substr(0, help.find("Examples:")), "^  (?:-.,)?(--[a-z-]+)"))
      options.insert(option);
  EXPECT_GE(options.size(), 20u);
  return options;
}

std::set<std::string> OptionsIn(const std::string& text) {
  const Lines named = MatchesIn(text, "(--[a-z-]+)");
  return {named.begin(), named.end()};
}

TEST(ManualPage, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string page = ManualPage();
  EXPECT_EQ(OptionsIn(page), AllOptions());
  EXPECT_EQ(Commands(), MatchesIn(page, "^\\.SS ([a-z]+)$"));
}

TEST(ManualPage, IsFormattedWithoutAWarning) {
  const ChildResult result = RunChild(QEL_GROFF, {"-man", "-ww", "-Tutf8", "-z", QEL_MANUAL_PAGE});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
}

/// What bash offers after `words`, the last of which is being typed.
Lines Offered(const std::string& words) {
  const std::string script = "source " QEL_COMPLETIONS "/ctkhost.bash; COMP_WORDS=(" QEL_CTKHOST " " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ctkhost; printf '%s\\n' \"${COMPREPLY[@]}\"";
  const ChildResult result = RunChild("/bin/bash", {"-c", script});
  EXPECT_EQ(result.errors, "");
  Lines offered = LinesOf(result.output);
  offered.erase(std::remove(offered.begin(), offered.end(), ""), offered.end());
  return offered;
}

TEST(BashCompletion, OffersWhatTheHelpNames) {
  const struct {
    const char* words;
    Lines offered;
  } kRows[] = {
      {"s", {"sign", "support"}},
      {"--json li", {"list"}},
      {"--t", {"--timeout", "--timing"}},
      {"sign --o", {"--out"}},
      {"sign --pin-", {"--pin-file"}},
      {"agent --a", {"--always-ask"}},
      {"sign --algorithm ec", {"ecdsa-sha256", "ecdsa-sha384", "ecdsa-sha512"}},
      {"sign --key 1", {}},
      {"list x", {}},
      {"sign --in " QEL_MANUAL_PAGE, {QEL_MANUAL_PAGE}},
  };
  for (const auto& row : kRows) EXPECT_EQ(Offered(row.words), row.offered) << row.words;
  Lines commands = Commands();
  std::sort(commands.begin(), commands.end());
  EXPECT_EQ(Offered("''"), commands);
}

TEST(ZshCompletion, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string file = TextOf(QEL_COMPLETIONS "/_ctkhost");
  EXPECT_EQ(OptionsIn(file), AllOptions());
  EXPECT_EQ(MatchesIn(file, "^    '([a-z]+):"), Commands());
}

/// What a real zsh offers behind `words`, the last of which is being typed, in their order; each once.
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

  std::set<std::string> Offered(const std::string& words) {
    std::filesystem::remove(m_home.Path() / "offered");
    m_zsh->Type(QEL_CTKHOST " " + words + "\t\x18");
    EXPECT_TRUE(m_zsh->Prints("finished")) << m_zsh->Printed();
    const Lines lines = LinesOf(TextOf(m_home.Path() / "offered"));
    std::set<std::string> offered(lines.begin(), lines.end());
    offered.erase("");
    return offered;
  }

 private:
  TemporaryDirectory m_home;
  FakeCard m_card;
  std::optional<RunningProgram> m_zsh;
};

TEST(ZshCompletion, OffersWhatTheHelpNames) {
  if (std::string(QEL_ZSH).find("NOTFOUND") != std::string::npos) GTEST_SKIP() << "there is no zsh here";
  Zsh zsh;
  const struct {
    const char* words;
    std::set<std::string> offered;
  } kRows[] = {
      {"s", {"sign", "support"}},
      {"--json li", {"list"}},
      {"--t", {"--timeout", "--timing"}},
      {"sign --o", {"--out"}},
      {"sign --pin-", {"--pin-file"}},
      {"--json agent --a", {"--always-ask"}},
      {"sign --algorithm ec", {"ecdsa-sha256", "ecdsa-sha384", "ecdsa-sha512"}},
      {"list x", {}},
      {"sign --in " QEL_MANUAL_PAGE, {"ctkhost.1"}},
      {"list --reader T", {"Test\\ Reader"}},
  };
  for (const auto& row : kRows) EXPECT_EQ(zsh.Offered(row.words), row.offered) << row.words;
  const Lines commands = Commands();
  EXPECT_EQ(zsh.Offered(""), std::set<std::string>(commands.begin(), commands.end()));
}

TEST(ZshCompletion, OffersTheIdentifiersOfACardsKeysAndCertificates) {
  if (std::string(QEL_ZSH).find("NOTFOUND") != std::string::npos) GTEST_SKIP() << "there is no zsh here";
  Zsh zsh;
  const std::string fake = std::string("--extension ") + QEL_FAKE_BUNDLE;
  EXPECT_EQ(zsh.Offered(fake + " sign --key "), (std::set<std::string>{"12a1", "12a2", "12a3", "12a4"}));
  EXPECT_EQ(zsh.Offered(fake + " export --certificate "), std::set<std::string>{"11a1"});
}

TEST(Installation, PutsManualPagesAndCompletionsWhereTheyAreFound) {
  const TemporaryDirectory prefix;
  const ChildResult result = RunChild(QEL_CMAKE, {"--install", QEL_BUILD_DIR, "--prefix", prefix.Path()});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  std::map<std::string, std::string> expected = {
      {"bash-completion/completions/ctkhost", QEL_COMPLETIONS "/ctkhost.bash"},
      {"zsh/site-functions/_ctkhost", QEL_COMPLETIONS "/_ctkhost"},
  };
  for (const auto& page : std::filesystem::directory_iterator(std::filesystem::path(QEL_MANUAL_PAGE).parent_path()))
    expected["man/man1/" + page.path().filename().string()] = page.path();
  EXPECT_EQ(expected.count("man/man1/ctkhost.1"), 1u);
  for (const auto& [installed, source] : expected)
    EXPECT_EQ(TextOf(prefix.Path() / "share" / installed), TextOf(source)) << installed;
}

}  // namespace
