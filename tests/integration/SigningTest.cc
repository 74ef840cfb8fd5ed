#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

struct Row {
  const char* key;
  std::vector<std::string> algorithms;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.key;
}

class Signing : public ::testing::TestWithParam<Row> {};

TEST_P(Signing, EachAlgorithmGivesASignatureThatOpensslVerifies) {
  const RealCard card({"--key", GetParam().key});
  const std::string key = card.KeyID();
  const std::string publicKey = card.ExportPublicKey(key);
  card.Write("other", "Pay 900 to the bearer.\n");
  for (const std::string& algorithm : GetParam().algorithms) {
    SCOPED_TRACE(algorithm);
    const ChildResult result = card.Sign(key, algorithm);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_TRUE(Verifies(algorithm, publicKey, card.Path("message"), card.Path("signature")));
    EXPECT_FALSE(Verifies(algorithm, publicKey, card.Path("other"), card.Path("signature")));
  }
}

TEST_P(Signing, APreparedDigestGivesASignatureOfItsMessage) {
  const RealCard card({"--key", GetParam().key});
  const std::string key = card.KeyID();
  const std::string publicKey = card.ExportPublicKey(key);
  for (const std::string& algorithm : GetParam().algorithms) {
    SCOPED_TRACE(algorithm);
    const std::string digest = algorithm.substr(algorithm.rfind('-') + 1);
    ASSERT_EQ(
        RunOpenSSL({"dgst", "-" + digest, "-binary", "-out", card.Path("digest"), card.Path("message")}).exitStatus, 0);
    const ChildResult result = card.Host({"sign", "--key", key, "--algorithm", algorithm, "--digest",
                                          card.Path("digest"), "--out", card.Path("signature")});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_TRUE(Verifies(algorithm, publicKey, card.Path("message"), card.Path("signature")));
  }
}

const std::vector<std::string> kRsa = {"rsa-pkcs1-sha1",   "rsa-pkcs1-sha224", "rsa-pkcs1-sha256", "rsa-pkcs1-sha384",
                                       "rsa-pkcs1-sha512", "rsa-pss-sha256",   "rsa-pss-sha384",   "rsa-pss-sha512"};
const std::vector<std::string> kEcdsa = {"ecdsa-sha1", "ecdsa-sha224", "ecdsa-sha256", "ecdsa-sha384", "ecdsa-sha512"};
const Row kRows[] = {{"rsa2048", kRsa}, {"rsa3072", kRsa}, {"p256", kEcdsa}, {"p384", kEcdsa}};

INSTANTIATE_TEST_SUITE_P(Integration, Signing, ::testing::ValuesIn(kRows));

TEST(Refusal, AKeyOfTheOtherKindIsNotSupported) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Sign(card.KeyID(), "rsa-pss-sha256");
  EXPECT_EQ(result.exitStatus, 4);
  EXPECT_FALSE(card.Has("signature"));
}

TEST(Refusal, ASignatureWithoutALoginNeedsAuthenticationFirst) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"-v", "sign", "--key", card.KeyID(), "--algorithm", "ecdsa-sha256", "--in",
                                        card.Path("message"), "--out", card.Path("signature")});
  ASSERT_EQ(result.exitStatus, 0);
  const std::string expected =
      "-> signData\n<- TKErrorDomain -9, authentication needed\n-> beginAuth \"PINAlways\"\n<- done\n"
      "-> finishAuth smartCardPIN\n<- yes\n-> signData\n";
  EXPECT_NE(result.errors.find(expected), std::string::npos) << result.errors;
}

TEST(Slots, AKeyOfTheSecondSlotIsMarkedAndSigns) {
  const RealCard card({"--key", "p256", "--key", "p384", "--slots", "2"});
  const auto keys = card.KeyIDs();
  ASSERT_EQ(keys.size(), 2u);
  EXPECT_EQ(keys[0].substr(0, 2), "12");
  EXPECT_EQ(keys[1].substr(0, 2), "22");
  for (const std::string& key : keys) {
    const std::string publicKey = card.ExportPublicKey(key);
    EXPECT_EQ(card.Sign(key, "ecdsa-sha256").exitStatus, 0);
    EXPECT_TRUE(Verifies("ecdsa-sha256", publicKey, card.Path("message"), card.Path("signature")));
  }
}

TEST(Sessions, AreClosedWhenTheTokenEnds) {
  const RealCard card({"--key", "p256", "--slots", "2", "--key", "p384"});
  ASSERT_EQ(card.Host({"list"}).exitStatus, 0);
  const auto count = [trace = card.Text("trace")](const std::string& call) {
    size_t found = 0;
    for (size_t at = trace.find(call); at != std::string::npos; at = trace.find(call, at + 1)) ++found;
    return found;
  };
  EXPECT_EQ(count(" C_OpenSession("), 2u);
  EXPECT_EQ(count(" C_CloseSession("), 2u);
}

TEST(Sessions, EndWithTheLibraryFinalizedAndNothingOnStandardError) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"list"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_NE(card.Text("trace").find(" C_Finalize(pReserved=null) => CKR_OK "), std::string::npos) << card.Text("trace");
}

TEST(Listing, ShowsUserCertificatesOnlyAndCutsNothing) {
  const RealCard card({"--key", "rsa2048", "--key", "p256"});
  EXPECT_EQ(card.Items().size(), 4u);
  const std::string text = card.Host({"list"}).output;
  EXPECT_EQ(text.find("Demo CA"), std::string::npos) << text;
  EXPECT_NE(text.find(" EC P-256 certificate 2 (EC P-256 key 2)"), std::string::npos) << text;
  EXPECT_EQ(text.find("..."), std::string::npos) << text;
}

TEST(Removal, WithoutTheCardThereIsNoToken) {
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  const ChildResult result = card.Host({"list"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors, "ctkhost: no card in any reader; put one in ('softcard insert CARD' for a soft one)\n");
}

}  // namespace
