// What clients of the agent see of a card's labels.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "host/agent/CardKeys.h"
#include "platform/wire/Hex.h"
#include "tests/host/FakeCard.h"

namespace {

/// A certificate that openssl signs itself, in DER.
Wire::Bytes MakeCertificate(const FakeCard& card) {
  const ChildResult made =
      RunChild("/bin/sh", {"-c",
                           "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj /CN=test "
                           "-keyout /dev/null -outform DER -out '" +
                               card.Path("certificate") + "'"});
  EXPECT_EQ(made.exitStatus, 0) << made.errors;
  std::ifstream file(card.Path("certificate"), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(KeyComment, IsOneLineWhateverTheCardsLabelIs) {
  const FakeCard card;
  for (const auto& [name, value] : card.Environment()) setenv(name.c_str(), value->c_str(), 1);
  setenv("FAKE_EXTENSION", card.Path("").c_str(), 1);
  const Wire::Bytes der = MakeCertificate(card);
  const auto hash = Ssh::KeyOfCertificate(der)->hash;
  const std::string label = "mine\nssh-ed25519 AAAA evil\r\x1b[2J\u202E";
  const nlohmann::json certificate = {{"kind", "certificate"},
                                      {"certificate", Wire::ToHex(der.data(), der.size())},
                                      {"objectID", "11a1"},
                                      {"label", label},
                                      {"constraints", nlohmann::json::object()}};
  const nlohmann::json key = {{"kind", "key"},
                              {"keyType", "73"},
                              {"keySizeInBits", 256},
                              {"publicKeyHash", Wire::ToHex(hash.data(), hash.size())},
                              {"canSign", true},
                              {"canDecrypt", false},
                              {"canPerformKeyExchange", false},
                              {"suitableForLogin", true},
                              {"objectID", "12a1"},
                              {"label", label},
                              {"constraints", {{"2", "PINAlways"}}}};
  const nlohmann::json token = {{"token", 7}, {"instanceID", "QEL-FAKE"}, {"items", {certificate, key}}};
  card.Script("createToken", {"answer " + token.dump()});

  const Host::Options options;
  Host::ExtensionProcess process(QEL_FAKE_BUNDLE, std::chrono::seconds(20));
  Host::PinPrompt prompt(-1);
  Host::CardKeys keys(options, std::nullopt, process, prompt);
  const auto identities = keys.Identities();
  ASSERT_EQ(identities.size(), 1U);
  EXPECT_EQ(identities[0].comment, "mine?ssh-ed25519 AAAA evil??[2J?");
}

}  // namespace
