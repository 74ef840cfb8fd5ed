#include "host/commands/Command.h"

namespace Host {
namespace {

constexpr char kExitStatus[] =
    "Exit status: 0 done, 1 failure, 2 usage, 3 no reader, card or token, 4 no such\n"
    "key or not supported, 5 wrong or locked PIN, 6 cancelled.";

constexpr char kMoreOptions[] =
    "'ctkhost --help' has the options that every command takes: --pin-file, --reader,\n"
    "--json and more; they may stand anywhere.\n";

}  // namespace

std::string HelpFooter(const std::string& notes, const std::string& examples) {
  return notes + (notes.empty() ? "" : "\n") + "Examples:\n" + examples + "\n" + kExitStatus;
}

CLI::App* AddCommand(CLI::App& app, const char* name, const char* help, const std::string& notes,
                     const std::string& examples) {
  return app.add_subcommand(name, help)->footer(HelpFooter(notes + kMoreOptions, examples));
}

CLI::Option* AddText(CLI::App* command, const char* option, std::string& value, const char* type, const char* help) {
  return command->add_option(option, value, help)->type_name(type)->required();
}

CLI::Validator Between(int low, int high) {
  const CLI::Range range(low, high);
  const std::string bounds = std::to_string(low) + " to " + std::to_string(high);
  return {[range, bounds](std::string& text) {
            return range(text).empty() ? "" : "'" + text + "' is no number from " + bounds;
          },
          ""};
}

}  // namespace Host
