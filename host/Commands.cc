#include "host/Commands.h"

#include <openssl/crypto.h>

#include <cstdio>

#include "host/Files.h"
#include "host/Listing.h"
#include "host/Pem.h"
#include "host/Service.h"
#include "host/SignatureNames.h"
#include "host/Terminal.h"

namespace Host {
namespace {

using json = nlohmann::json;

void Print(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

void PrintJson(const json& value) {
  Print(value.dump(2, ' ', false, json::error_handler_t::replace) + "\n");
}

void Deliver(const Options& options, const std::string& path, Wire::Bytes bytes, Secrecy secrecy) {
  WriteWholeFile(path, bytes, secrecy);
  if (secrecy == Secrecy::Private) OPENSSL_cleanse(bytes.data(), bytes.size());
  if (options.json) {
    PrintJson({{"out", path}, {"bytes", bytes.size()}});
  } else {
    Print(path + ": " + std::to_string(bytes.size()) + " bytes\n");
  }
}

/// Runs `use` with a session for the key called `id` and gives its result to `path`.
template <class Use>
void UseKey(const Options& options, const std::string& id, const std::string& path, Secrecy secrecy, Use use) {
  RequireWritable(path);
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  const CardTokens tokens = OpenTokens(options, process);
  const FoundItem key = FindItem(tokens, Wire::Item::Kind::Key, id);
  const PinSource pins(options.pinFile);
  KeySession session(*key.token, pins);
  Deliver(options, path, use(session, *key.item), secrecy);
}

}  // namespace

void ShowReaders(const Options& options) {
  const std::vector<Reader> readers = ChosenReaders(options);
  options.json ? PrintJson(ReadersJson(readers)) : Print(ReadersText(readers, OutputPage()));
  const std::string problem = ServiceProblem();
  if (!problem.empty()) TellUser("soft readers only: " + problem);
}

void ListItems(const Options& options) {
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  json all = json::array();
  std::string text;
  for (const auto& token : OpenTokens(options, process)) {
    all.push_back(TokenJson(token->Reader(), token->InstanceID(), token->Items()));
    text += (text.empty() ? "" : "\n") + TokenText(token->Reader(), token->InstanceID(), token->Items(), OutputPage());
  }
  options.json ? PrintJson(all) : Print(text);
}

void Sign(const Options& options, const SignArguments& arguments) {
  const Wire::Bytes message = ReadWholeFile(arguments.in);
  UseKey(options, arguments.key, arguments.out, Secrecy::Public, [&](KeySession& session, const Wire::Item& key) {
    return session.Sign(key, SignatureAlgorithm(arguments.algorithm), message);
  });
}

void Decrypt(const Options& options, const DecryptArguments& arguments) {
  const Wire::Bytes ciphertext = ReadWholeFile(arguments.in);
  UseKey(options, arguments.key, arguments.out, Secrecy::Private,
         [&](KeySession& session, const Wire::Item& key) { return session.Decrypt(key, ciphertext); });
}

void Agree(const Options& options, const AgreeArguments& arguments) {
  const Wire::Bytes peer = PublicPointFromPem(ReadWholeFile(arguments.peer), arguments.peer);
  UseKey(options, arguments.key, arguments.out, Secrecy::Private, [&](KeySession& session, const Wire::Item& key) {
    return session.Agree(key, peer, arguments.size, arguments.sharedInfo);
  });
}

void Export(const Options& options, const ExportArguments& arguments) {
  RequireWritable(arguments.out);
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  const CardTokens tokens = OpenTokens(options, process);
  const FoundItem found = FindItem(tokens, Wire::Item::Kind::Certificate, arguments.certificate);
  Deliver(options, arguments.out, PemFromCertificate(found.item->certificate), Secrecy::Public);
}

}  // namespace Host
