#include "tests/host/commands/ProgramHelp.h"

#include <gtest/gtest.h>

#include <iterator>
#include <regex>
#include <sstream>

#include "tests/support/ChildProcess.h"

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

std::string ProgramHelp::Of(const std::string& command) const {
  std::istringstream words(command);
  Lines arguments(std::istream_iterator<std::string>(words), {});
  arguments.push_back("--help");
  const ChildResult result = RunChild(m_program, arguments);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  return result.output;
}

Lines ProgramHelp::CommandsBeneath(const std::string& command) const {
  const std::string help = Of(command);
  const size_t start = help.find("Commands:\n");
  if (start == std::string::npos) return {command};
  Lines all;
  for (const std::string& name : MatchesIn(help.substr(start, help.find("\n\n", start) - start), "^  ([a-z]+) "))
    for (std::string& found : CommandsBeneath(command.empty() ? name : command + " " + name))
      all.push_back(std::move(found));
  return all;
}

Lines ProgramHelp::All() const {
  Lines helps = {Of("")};
  for (const std::string& command : Commands()) helps.push_back(Of(command));
  return helps;
}

std::set<std::string> ProgramHelp::Options() const {
  std::set<std::string> options;
  for (const std::string& help : All())
    for (const std::string& option : MatchesIn(help.substr(0, help.find("Examples:")), "^  (?:-.,)?(--[a-z-]+)"))
      options.insert(option);
  EXPECT_GE(options.size(), 10u);
  return options;
}
