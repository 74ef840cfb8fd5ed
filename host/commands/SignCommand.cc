#include <algorithm>
#include <memory>

#include "host/base/Words.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/KeyUse.h"
#include "host/keys/SignatureNames.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

struct SignArguments {
  std::string key, algorithm, out;
  std::string in;      ///< the message; empty: there is a digest
  std::string digest;  ///< of the message
};

void RequireLength(const SignArguments& arguments, size_t length) {
  const size_t wanted = DigestLength(arguments.algorithm);
  if (length != wanted)
    throw Failure(ExitStatus::Usage, "the digest has " + Counted(length, "byte") + ", and " + arguments.algorithm +
                                         " wants " + std::to_string(wanted) +
                                         "; give it as 'openssl dgst -binary' writes it");
}

void Sign(const Options& options, const SignArguments& arguments) {
  if (arguments.in.empty() && arguments.digest.empty())
    throw Failure(ExitStatus::Usage, "--in or --digest is required; 'ctkhost sign --help' shows how to use it");
  const bool hasDigest = arguments.in.empty();
  const Wire::Bytes data = ReadInput(options, hasDigest ? arguments.digest : arguments.in);
  if (hasDigest) RequireLength(arguments, data.size());
  const std::string algorithm =
      hasDigest ? DigestSignatureAlgorithm(arguments.algorithm) : SignatureAlgorithm(arguments.algorithm);
  UseKey(options, arguments.key, arguments.out, Secrecy::Public,
         [&](KeySession& session, const Wire::Item& key) { return session.Sign(key, algorithm, data); });
}

std::string AlgorithmNotes() {
  constexpr size_t kColumns = 78;
  std::string names;
  for (const std::string& name : SignatureNames()) names += (names.empty() ? "" : " ") + name;
  std::string text = "Algorithms:\n";
  for (const std::string& line : Folded(names, kColumns)) text += "  " + line + "\n";
  return text + kIdentifiers + kFiles;
}

std::string WhyNoSignature(const std::string& name) {
  const auto names = SignatureNames();
  return std::find(names.begin(), names.end(), name) != names.end() ? "" : "there is no algorithm '" + name + "'";
}

}  // namespace

void AddSign(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<SignArguments>();
  CLI::App* command = AddCommand(app, "sign", "Sign a file", AlgorithmNotes(),
                                 "  ctkhost sign --key 1201 --algorithm rsa-pss-sha256 \\\n"
                                 "    --in letter.txt --out letter.sig\n"
                                 "  ctkhost --pin-file pin.txt sign --key 'My key' \\\n"
                                 "    --algorithm ecdsa-sha256 --in letter.txt --out letter.sig\n");
  AddText(command, "--key", arguments->key, "ID", "The key that signs");
  AddText(command, "--algorithm", arguments->algorithm, "NAME", "One of those below")
      ->check(CLI::Validator(WhyNoSignature, ""));
  CLI::Option* message = command->add_option("--in", arguments->in, "The message")->type_name("FILE");
  command->add_option("--digest", arguments->digest, "The message's digest instead of it")
      ->type_name("FILE")
      ->excludes(message);
  AddText(command, "--out", arguments->out, "FILE", "The signature");
  command->callback([&options, arguments] { Sign(options, *arguments); });
}

}  // namespace Host
