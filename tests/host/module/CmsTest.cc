/// S/MIME with the openssl command line; the key stays on the card.

#include <gmock/gmock.h>

#include <ostream>

#include "tests/host/module/ModuleCard.h"
#include "tests/integration/OpenSSL.h"

namespace {

std::vector<std::string> WithKey(const ModuleCard& card, std::vector<std::string> arguments,
                                 const std::string& pin = ModuleCard::Pin()) {
  arguments.insert(arguments.end(), {"-engine", "pkcs11", "-keyform", "engine", "-inkey", card.KeyUri(pin)});
  return arguments;
}

class SignedMail : public ::testing::TestWithParam<std::string> {};

TEST_P(SignedMail, IsVerifiedAndNoOtherTextIs) {
  const ModuleCard card(GetParam());
  const RealCard& files = card.Card();
  files.Write("mail", "Pay 100 to the bearer.\n");
  files.Write("other", "Pay 900 to the bearer.\n");
  const ChildResult made =
      card.Run(QEL_OPENSSL, WithKey(card, {"cms", "-sign", "-binary", "-in", files.Path("mail"), "-signer",
                                           card.CertificateFile(), "-outform", "DER", "-out", files.Path("p7s")}));
  ASSERT_EQ(made.exitStatus, 0) << made.errors << card.Log();
  const auto verifies = [&](const std::string& content) {
    return RunOpenSSL({"cms", "-verify", "-binary", "-inform", "DER", "-in", files.Path("p7s"), "-content",
                       files.Path(content), "-CAfile", files.Path("cards/ca/ca.pem"), "-purpose", "any"})
               .exitStatus == 0;
  };
  EXPECT_TRUE(verifies("mail"));
  EXPECT_FALSE(verifies("other"));
}

INSTANTIATE_TEST_SUITE_P(Module, SignedMail, ::testing::Values("rsa2048", "p256", "p384"),
                         [](const auto& info) { return info.param; });

TEST(EncryptedMail, IsReadWithTheCardsKey) {
  const ModuleCard card("rsa2048");
  const RealCard& files = card.Card();
  files.Write("mail", "For your eyes only.\n");
  ASSERT_EQ(RunOpenSSL({"cms", "-encrypt", "-binary", "-aes256", "-in", files.Path("mail"), "-outform", "DER", "-out",
                        files.Path("p7m"), card.CertificateFile()})
                .exitStatus,
            0);
  const ChildResult read = card.Run(QEL_OPENSSL, WithKey(card, {"cms", "-decrypt", "-inform", "DER", "-in",
                                                                files.Path("p7m"), "-recip", card.CertificateFile()}));
  EXPECT_EQ(read.exitStatus, 0) << read.errors << card.Log();
  EXPECT_EQ(read.output, "For your eyes only.\n");
}

TEST(EncryptedMail, IsNotReadWithAWrongPin) {
  const ModuleCard card("rsa2048");
  const RealCard& files = card.Card();
  files.Write("mail", "For your eyes only.\n");
  RunOpenSSL({"cms", "-encrypt", "-in", files.Path("mail"), "-outform", "DER", "-out", files.Path("p7m"),
              card.CertificateFile()});
  const ChildResult read = card.Run(
      QEL_OPENSSL,
      WithKey(card, {"cms", "-decrypt", "-inform", "DER", "-in", files.Path("p7m"), "-recip", card.CertificateFile()},
              "wrong"));
  EXPECT_NE(read.exitStatus, 0);
  EXPECT_EQ(read.output, "");
  EXPECT_THAT(card.Log(), ::testing::HasSubstr("ctkhost: login failed: wrong PIN"));
}

}  // namespace
