// A card library that answers whatever it likes, under the construction of a token and every operation.

#include <cstdint>
#include <cstdlib>

#include "fuzz/BentCard.h"
#include "fuzz/ExtensionUnderFuzz.h"

namespace {

using nlohmann::json;

const json kRsaRaw = {"algid:sign:RSA:digest-PKCS1v15", "algid:sign:RSA:raw"};
const json kPss = {"algid:sign:RSA:digest-PSS:SHA256:SHA256:32"};
const json kEcdsa = {"algid:sign:ECDSA:digest-X962"};

/// Every operation on one key. What the card answers must never raise an exception.
class Story {
 public:
  explicit Story(ExtensionUnderFuzz& extension) : m_extension(extension) {}

  void Tell() {
    const json token = Require("createToken", {{"reader", ExtensionUnderFuzz::kReader}});
    if (token.is_null()) return;
    const json session = Require("createSession", {{"token", token.at("token")}});
    if (session.is_null()) return;
    m_session = session.at("session");
    for (const json& item : token.at("items")) {
      if (item.at("kind") == "key") Use(item.at("objectID"));
    }
  }

 private:
  /// The result; null for a refusal.
  json Require(const std::string& call, const json& arguments, const std::string& attachment = {}) {
    const auto answer = m_extension.Ask(call, arguments, attachment);
    if (!answer) std::abort();
    if (answer->header.at("ok") == true) return answer->header.at("result");
    const json& error = answer->header.at("error");
    if (!error.is_null() && error.at("domain") == "NSException") std::abort();
    return nullptr;
  }

  void Use(const json& key) {
    json arguments = {{"session", m_session}, {"key", key}, {"operation", 2}, {"algorithms", kRsaRaw}};
    Require("supportsOperation", arguments);
    Require("signData", arguments, {"\0\1\xFF\0data", 8});
    LogIn();
    for (const json& algorithms : {kRsaRaw, kPss, kEcdsa}) {
      arguments["algorithms"] = algorithms;
      Require("signData", arguments, {"\0\1\xFF\0data", 8});
    }
    Require("decryptData", arguments, "ciphertext");
    arguments["algorithms"] = {"algid:keyexchange:ECDH:KDFX963:SHA1"};
    arguments["operation"] = 4;
    arguments["requestedSize"] = 32;
    Require("supportsOperation", arguments);
    Require("performKeyExchange", arguments, std::string(65, '\4'));
  }

  void LogIn() {
    const json begun = Require("beginAuth", {{"session", m_session}, {"operation", 2}, {"constraint", "PINAlways"}});
    if (begun.is_null()) return;
    const bool asks = begun.at("kind") == "smartCardPIN";
    Require("finishAuth", {{"auth", begun.at("auth")}, {"hasPIN", asks}}, asks ? "1234" : "");
  }

  ExtensionUnderFuzz& m_extension;
  json m_session;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  BentCard card(input);
  {
    ExtensionUnderFuzz extension;
    Story(extension).Tell();
  }
  if (!card.IsBalanced()) std::abort();
  return 0;
}
