#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/Listing.h"
#include "host/commands/Results.h"
#include "host/keys/Service.h"
#include "host/terminal/Terminal.h"

namespace Host {
namespace {

void ShowReaders(const Options& options) {
  const std::vector<Reader> readers = ChosenReaders(options);
  options.json ? PrintJson(ReadersJson(readers)) : Print(ReadersText(readers, OutputPage()));
  const std::string problem = ServiceProblem();
  if (!problem.empty()) TellUser("soft readers only: " + problem);
}

}  // namespace

void AddReaders(CLI::App& app, const Options& options) {
  AddCommand(app, "readers", "Show the readers", "",
             "  ctkhost readers\n"
             "  ctkhost --json readers\n")
      ->callback([&options] { ShowReaders(options); });
}

}  // namespace Host
