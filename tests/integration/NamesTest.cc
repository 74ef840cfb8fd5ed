#include <gtest/gtest.h>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

TEST(Names, AKeyIsFoundByItsIdentifierByTheLabelThatListShowsAndByTheCardsOwn) {
  const RealCard card({"--key", "p256", "--key", "p384"});
  for (const char* name : {"1201", "EC P-256 key 1 (EC P-256 key 1)", "EC P-256 key 1"})
    EXPECT_EQ(card.Sign(name, "ecdsa-sha256").exitStatus, 0) << name;
  EXPECT_NE(card.Host({"list"}).output.find(" EC P-256 key 1 (EC P-256 key 1) "), std::string::npos);
  EXPECT_EQ(card.Sign("EC P-256", "ecdsa-sha256").exitStatus, 4) << "part of a label is none";
}

TEST(Names, ListIsInTheOrderOfTheIdentifiersAndPromisesWhatTheCommandsDo) {
  const RealCard card({"--key", "rsa2048", "--key", "p256", "--key", "p384"});
  std::string last;
  for (const auto& item : card.Items()) {
    EXPECT_LT(last, item.at("objectID"));
    last = item.at("objectID");
    if (item.at("kind") == "certificate") {
      card.Write("exported", item.at("certificate"));
      const ChildResult read = RunOpenSSL({"x509", "-in", card.Path("exported"), "-noout", "-serial"});
      EXPECT_EQ(read.output, "serial=" + item.at("serial").get<std::string>() + "\n");
    } else {
      const bool rsa = item.at("keyType") == "RSA-2048";
      EXPECT_EQ(item.at("capabilities"), nlohmann::json(rsa ? std::vector<std::string>{"sign", "decrypt", "login"}
                                                            : std::vector<std::string>{"sign", "agree", "login"}));
    }
  }
}

}  // namespace
