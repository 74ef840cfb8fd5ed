#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/Listing.h"
#include "host/commands/Results.h"
#include "host/keys/ListedItems.h"
#include "host/keys/Service.h"
#include "host/terminal/Terminal.h"

namespace Host {
namespace {

void ListItems(const Options& options) {
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  nlohmann::json all = nlohmann::json::array();
  std::string text;
  for (const auto& token : OpenTokens(options, process)) {
    const std::vector<Wire::Item> items = ListedItems(*token);
    if (options.json) {
      all.push_back(TokenJson(token->Reader(), token->InstanceID(), items));
    } else {
      text += (text.empty() ? "" : "\n") + TokenText(token->Reader(), token->InstanceID(), items, OutputPage());
    }
  }
  options.json ? PrintJson(all) : Print(text);
}

}  // namespace

void AddList(CLI::App& app, const Options& options) {
  AddCommand(app, "list", "List the certificates and keys on the cards", "",
             "  ctkhost list\n"
             "  ctkhost --reader 'QEL Soft Reader 00' --json list\n")
      ->callback([&options] { ListItems(options); });
}

}  // namespace Host
