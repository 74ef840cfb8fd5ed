#pragma once

#include <set>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text);

/// The first group of each match of `pattern`, whose ^ and $ are those of a line.
Lines MatchesIn(const std::string& text, const char* pattern);

/// What a program says of itself with --help, asked for when it is wanted.
class ProgramHelp {
 public:
  explicit ProgramHelp(std::string program) : m_program(std::move(program)) {}

  /// Of the program, or of a command such as "pinpad enter"; fails the test when it does not end well.
  std::string Of(const std::string& command) const;
  /// The commands that have none beneath them, in the order of the help.
  Lines Commands() const { return CommandsBeneath(""); }
  /// The program's own help and that of every command.
  Lines All() const;
  /// The long names of all options; fails the test when there are suspiciously few.
  std::set<std::string> Options() const;

 private:
  Lines CommandsBeneath(const std::string& command) const;

  std::string m_program;
};
