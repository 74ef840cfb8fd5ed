#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/support/ChildProcess.h"

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
  const std::string commands = help.substr(help.find("Subcommands:"));
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

/// The manual page, as it is read: with plain hyphens.
std::string ManualPage() {
  std::ostringstream text;
  text << std::ifstream(QEL_MANUAL_PAGE).rdbuf();
  return std::regex_replace(text.str(), std::regex("\\\\-"), "-");
}

TEST(ManualPage, NamesEveryCommandAndOptionOfTheHelpAndNoOther) {
  const std::string page = ManualPage();
  std::set<std::string> options;
  for (const std::string& help : AllHelps())
    for (const std::string& option : MatchesIn(help.substr(0, help.find("Examples:")), "^  (?:-.,)?(--[a-z-]+)"))
      options.insert(option);
  EXPECT_GE(options.size(), 20u);
  const Lines named = MatchesIn(page, "(--[a-z-]+)");
  EXPECT_EQ(options, std::set<std::string>(named.begin(), named.end()));
  EXPECT_EQ(Commands(), MatchesIn(page, "^\\.SS ([a-z]+)$"));
}

TEST(ManualPage, IsFormattedWithoutAWarning) {
  const ChildResult result = RunChild(QEL_GROFF, {"-man", "-ww", "-Tutf8", "-z", QEL_MANUAL_PAGE});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
}

/// What bash offers after `words`, the last of which is being typed.
Lines Offered(const std::string& words) {
  const std::string script = "source " QEL_COMPLETION "; COMP_WORDS=(" QEL_CTKHOST " " + words +
                             "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _ctkhost; printf '%s\\n' \"${COMPREPLY[@]}\"";
  const ChildResult result = RunChild("/bin/bash", {"-c", script});
  EXPECT_EQ(result.errors, "");
  Lines offered = LinesOf(result.output);
  offered.erase(std::remove(offered.begin(), offered.end(), ""), offered.end());
  return offered;
}

TEST(Completion, OffersWhatTheHelpNames) {
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

}  // namespace
