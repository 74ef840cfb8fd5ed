#include <memory>

#include "host/agent/Serve.h"
#include "host/base/Failure.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"

namespace Host {
namespace {

void SetLifetime(AgentArguments& arguments, const std::string& text) {
  arguments.lifetime = ParseLifetime(text);
  if (!arguments.lifetime)
    throw CLI::ValidationError("--lifetime", "'" + text + "' is no time; 600, 10m and 1h30m are");
}

void Serve(const Options& options, const AgentArguments& arguments) {
  const int status = ServeAgent(options, arguments);
  if (status != 0) throw Failure(static_cast<ExitStatus>(status), "");  // the command has told what there is to tell
}

}  // namespace

void AddAgent(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<AgentArguments>();
  CLI::App* command = AddCommand(app, "agent", "Serve SSH clients with the cards' keys until interrupted", "",
                                 "  ctkhost agent --socket ~/.ssh/card.sock\n"
                                 "  SSH_AUTH_SOCK=~/.ssh/card.sock ssh-add -L\n"
                                 "  ctkhost agent -t 1h -- git push\n");
  command->add_option("--socket", arguments->socket, "Where to listen (a socket in a new folder)")->type_name("PATH");
  CLI::Option* const lifetime =
      command
          ->add_option_function<std::string>(
              "-t,--lifetime", [arguments](const std::string& text) { SetLifetime(*arguments, text); },
              "How long a login lasts, such as 10m or 1h30m\n(until the card is removed)")
          ->type_name("TIME");
  command
      ->add_flag_callback(
          "--always-ask", [arguments] { arguments->lifetime = std::chrono::seconds(0); },
          "Log in for each signature, not once for each card")
      ->excludes(lifetime);
  command
      ->add_option("COMMAND", arguments->command,
                   "behind --: runs with SSH_AUTH_SOCK, and ends the agent,\nwhich ends with its exit status")
      ->type_name("")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  command->callback([&options, arguments] { Serve(options, *arguments); });
}

}  // namespace Host
