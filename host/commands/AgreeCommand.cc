#include <memory>
#include <optional>

#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/KeyUse.h"
#include "host/keys/Pem.h"
#include "platform/wire/Hex.h"

namespace Host {
namespace {

struct AgreeArguments {
  std::string key, peer, out;
  int64_t size = 0;  ///< bytes
  std::optional<Wire::Bytes> sharedInfo;
};

void Agree(const Options& options, const AgreeArguments& arguments) {
  const Wire::Bytes peer =
      PublicPointFromPem(ReadInput(options, arguments.peer), arguments.peer == "-" ? "standard input" : arguments.peer);
  UseKey(options, arguments.key, arguments.out, Secrecy::Private, [&](KeySession& session, const Wire::Item& key) {
    return session.Agree(key, peer, arguments.size, arguments.sharedInfo);
  });
}

}  // namespace

void AddAgree(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<AgreeArguments>();
  CLI::App* command =
      AddCommand(app, "agree", "Agree a secret (X9.63 derivation over SHA-1)", std::string(kIdentifiers) + kFiles,
                 "  ctkhost agree --key 1202 --peer theirs.pem --size 32 --out secret.bin\n");
  AddText(command, "--key", arguments->key, "ID", "The key on the card");
  AddText(command, "--peer", arguments->peer, "PUBLIC.pem", "The other party's public key");
  command->add_option("--size", arguments->size, "Length of the secret in bytes")
      ->type_name("N")
      ->required()
      ->check(Between(1, 65536));
  command
      ->add_option_function<std::string>(
          "--shared-info",
          [arguments](const std::string& hex) {
            arguments->sharedInfo = Wire::FromHex(hex);
            if (!arguments->sharedInfo) throw CLI::ValidationError("--shared-info", "not hexadecimal: " + hex);
          },
          "What both parties know, in hexadecimal")
      ->type_name("HEX");
  AddText(command, "--out", arguments->out, "FILE", "The secret");
  command->callback([&options, arguments] { Agree(options, *arguments); });
}

}  // namespace Host
