#include <gtest/gtest.h>

#include <ostream>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

class Decryption : public ::testing::TestWithParam<const char*> {};

TEST_P(Decryption, GivesBackWhatOpensslEncryptedAtItsTrueLength) {
  const RealCard card({"--key", GetParam()});
  const std::string key = card.KeyID();
  const std::string publicKey = card.ExportPublicKey(key);
  for (const size_t length : {1, 32, 245}) {
    SCOPED_TRACE(length);
    card.Write("plain", std::string(length, 'p'));
    ASSERT_EQ(RunOpenSSL({"pkeyutl", "-encrypt", "-pubin", "-inkey", publicKey, "-pkeyopt", "rsa_padding_mode:pkcs1",
                          "-in", card.Path("plain"), "-out", card.Path("encrypted")})
                  .exitStatus,
              0);
    const ChildResult result =
        card.Host({"decrypt", "--key", key, "--in", card.Path("encrypted"), "--out", card.Path("decrypted")});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(card.Text("decrypted"), card.Text("plain"));
  }
}

INSTANTIATE_TEST_SUITE_P(Integration, Decryption, ::testing::Values("rsa2048", "rsa3072"));

TEST(DecryptionRefusal, AnEllipticCurveKeyDoesNotDecrypt) {
  const RealCard card({"--key", "p256"});
  EXPECT_EQ(
      card.Host({"decrypt", "--key", card.KeyID(), "--in", card.Path("message"), "--out", card.Path("out")}).exitStatus,
      4);
  EXPECT_FALSE(card.Has("out"));
}

struct Curve {
  const char* key;
  const char* name;
};

void PrintTo(const Curve& curve, std::ostream* out) {
  *out << curve.name;
}

class KeyAgreement : public ::testing::TestWithParam<Curve> {};

TEST_P(KeyAgreement, EqualsTheDerivationFromOpensslsRawSecret) {
  const RealCard card({"--key", GetParam().key});
  const std::string key = card.KeyID();
  const std::string publicKey = card.ExportPublicKey(key);
  ASSERT_EQ(RunOpenSSL({"genpkey", "-algorithm", "EC", "-pkeyopt", std::string("ec_paramgen_curve:") + GetParam().name,
                        "-out", card.Path("peer")})
                .exitStatus,
            0);
  ASSERT_EQ(RunOpenSSL({"pkey", "-in", card.Path("peer"), "-pubout", "-out", card.Path("peer.pub")}).exitStatus, 0);
  ASSERT_EQ(
      RunOpenSSL({"pkeyutl", "-derive", "-inkey", card.Path("peer"), "-peerkey", publicKey, "-out", card.Path("raw")})
          .exitStatus,
      0);
  for (const size_t size : {16, 32, 64, 100}) {
    for (const bool informed : {false, true}) {
      SCOPED_TRACE(std::to_string(size) + (informed ? " with shared info" : ""));
      std::vector<std::string> arguments = {"agree",
                                            "--key",
                                            key,
                                            "--peer",
                                            card.Path("peer.pub"),
                                            "--size",
                                            std::to_string(size),
                                            "--out",
                                            card.Path("secret")};
      if (informed) arguments.insert(arguments.end(), {"--shared-info", "00ff10"});
      const ChildResult result = card.Host(arguments);
      EXPECT_EQ(result.exitStatus, 0) << result.errors;
      EXPECT_EQ(card.Text("secret"),
                DeriveX963Sha1(card.Text("raw"), size, informed ? std::string("\0\xff\x10", 3) : ""));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Integration, KeyAgreement, ::testing::Values(Curve{"p256", "P-256"}, Curve{"p384", "P-384"}));

TEST(KeyAgreementRefusal, AnRsaKeyDoesNotAgree) {
  const RealCard card({"--key", "rsa2048", "--key", "p256"});
  const auto keys = card.KeyIDs();
  ASSERT_EQ(
      RunOpenSSL({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", card.Path("peer")})
          .exitStatus,
      0);
  ASSERT_EQ(RunOpenSSL({"pkey", "-in", card.Path("peer"), "-pubout", "-out", card.Path("peer.pub")}).exitStatus, 0);
  std::vector<int> statuses;
  for (const auto& item : card.Items()) {
    if (item.at("kind") != "key" || item.at("keyType") != "RSA-2048") continue;
    statuses.push_back(*card.Host({"agree", "--key", item.at("objectID"), "--peer", card.Path("peer.pub"), "--size",
                                   "16", "--out", card.Path("out")})
                            .exitStatus);
  }
  EXPECT_EQ(statuses, std::vector<int>{4});
}

TEST(KeyAgreementRefusal, APeerFileWithoutAPublicKeyIsNamed) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host(
      {"agree", "--key", card.KeyID(), "--peer", card.Path("message"), "--size", "16", "--out", card.Path("out")});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "ctkhost: " + card.Path("message") +
                               " holds no elliptic-curve public key in PEM form; 'openssl pkey -pubout' writes one\n");
}

}  // namespace
