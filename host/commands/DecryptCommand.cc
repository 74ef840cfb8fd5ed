#include <memory>

#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/KeyUse.h"

namespace Host {
namespace {

struct DecryptArguments {
  std::string key, in, out;
};

void Decrypt(const Options& options, const DecryptArguments& arguments) {
  const Wire::Bytes ciphertext = ReadInput(options, arguments.in);
  UseKey(options, arguments.key, arguments.out, Secrecy::Private,
         [&](KeySession& session, const Wire::Item& key) { return session.Decrypt(key, ciphertext); });
}

}  // namespace

void AddDecrypt(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<DecryptArguments>();
  CLI::App* command =
      AddCommand(app, "decrypt", "Decrypt what was encrypted with RSA PKCS#1 v1.5", std::string(kIdentifiers) + kFiles,
                 "  ctkhost decrypt --key 1201 --in letter.enc --out letter.txt\n");
  AddText(command, "--key", arguments->key, "ID", "The key that decrypts");
  AddText(command, "--in", arguments->in, "FILE", "The ciphertext");
  AddText(command, "--out", arguments->out, "FILE", "The plaintext");
  command->callback([&options, arguments] { Decrypt(options, *arguments); });
}

}  // namespace Host
