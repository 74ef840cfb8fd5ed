#include <memory>

#include "host/agent/Serve.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"

namespace Host {
void AddAgent(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<AgentArguments>();
  CLI::App* command = AddCommand(app, "agent", "Serve SSH clients with the cards' keys until interrupted", "",
                                 "  ctkhost agent --socket ~/.ssh/card.sock\n"
                                 "  SSH_AUTH_SOCK=~/.ssh/card.sock ssh-add -L\n");
  command->add_option("--socket", arguments->socket, "Where to listen (a socket in a new folder)")->type_name("PATH");
  command->add_flag("--always-ask", arguments->alwaysAsk, "Log in for each signature, not once for each card");
  command->callback([&options, arguments] { ServeAgent(options, *arguments); });
}

}  // namespace Host
