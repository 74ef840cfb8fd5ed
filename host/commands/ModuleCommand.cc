#include <unistd.h>

#include <memory>

#include "host/base/Failure.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/module/Serve.h"

namespace Host {
namespace {

struct ModuleArguments {
  std::string socket;
  bool inherited = false;  ///< one application, on standard input and output
};

}  // namespace

void AddModule(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<ModuleArguments>();
  CLI::App* command = AddCommand(app, "module", "Serve curl, openssl and others until interrupted", "",
                                 "  ctkhost module --socket ~/.qel/module\n"
                                 "  curl --engine pkcs11 --cert-type ENG --cert 'pkcs11:id=%12%01' \\\n"
                                 "    --key-type ENG --key 'pkcs11:id=%12%01' https://example.org\n");
  command->add_option("--socket", arguments->socket, "Where to listen (a socket in a new folder)")->type_name("PATH");
  command->add_flag("--stdio", arguments->inherited, "Serve one application, which started this command");
  command->callback([&options, arguments] {
    if (arguments->inherited) return ServeModule(options, STDIN_FILENO, STDOUT_FILENO);
    ServeModuleAt(options, arguments->socket);
  });
}

}  // namespace Host
