#include "host/base/Usage.h"

#include <algorithm>
#include <cctype>

namespace Host {

std::string UsageText(const CLI::App& app, const CLI::ParseError& problem) {
  std::string program = app.get_name(), text = problem.what();
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) {
    command = command->get_subcommands().front();
    program += " " + command->get_name();
  }
  const bool lacksCommand = command->get_require_subcommand_min() > 0;
  if (lacksCommand) {
    const auto rest = app.remaining(true);
    const auto word = std::find_if(rest.begin(), rest.end(), [](auto& argument) { return argument.front() != '-'; });
    if (problem.get_name() == "RequiredError") text = "which command?";
    if (word != rest.end())
      text = "there is no command '" + *word + "'";
    else if (!rest.empty())
      text = "there is no option '" + rest.front() + "'";
  }
  if (text.size() > 1 && std::islower(static_cast<unsigned char>(text[1])) != 0)  // not an argument such as CARD
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
  return text + (text.back() == '?' ? " '" : "; '") + program + " --help' shows " +
         (lacksCommand ? "them" : "how to use it");
}

}  // namespace Host
