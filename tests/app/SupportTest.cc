// What `QELToken --support` prints, over soft cards.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/app/AppProgram.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr char kLog[] = "home/Documents/QELToken.log";

nlohmann::json SupportOf(const RealCard& card) {
  return nlohmann::json::parse(App(card, {"--support", "--json"}).output);
}

TEST(Support, TellsOfVersionsSettingsReadersAndItems) {
  const RealCard card({"--key", "p256", "--serial", "00A1B2C3"});
  const ChildResult result = App(card, {"--support"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("  QELToken 1.0.0\n"), HasSubstr("  extension com.qel.QELToken.Extension: registered\n"),
                    HasSubstr("  Pkcs11:LogLevelPkcs11 = 0 (default)\n"),
                    HasSubstr("  QEL Soft Reader 00\n  Card QEL-00A1B2C3.\n"), HasSubstr("    EC P-256 certificate 1"),
                    HasSubstr("\nLast failing call in the token log\n  none\n"),
                    HasSubstr("\nEnd of the token log ~/Documents/QELToken.log (off)\n  none\n")));
}

TEST(Support, IsJsonForPrograms) {
  const RealCard card({"--key", "p256", "--serial", "00A1B2C3"});
  card.Write(kLog, "Requested name was R\nC_Sign() => 0x00000101\nC_Login() => 0x000000A0\nsigned\n");
  const nlohmann::json report = SupportOf(card);
  EXPECT_EQ(report.at("status").at("extension").at("registration"), "registered");
  EXPECT_EQ(report.at("status").at("readers").at(0).at("tokens").at(0).at("tokenID"),
            "com.qel.QELToken.Extension:QEL-00A1B2C3");
  EXPECT_EQ(report.at("lastFailingCall"), "C_Login => CKR_PIN_INCORRECT");
  EXPECT_THAT(report.at("leftOut"),
              ElementsAre("A card was left out: the PKCS#11 library knows no reader of its reader's name."));
  EXPECT_EQ(report.at("settings").at("values").at(0).at("key"), "Pkcs11:LogLevelPkcs11");
  EXPECT_EQ(report.at("tokenLog").at("lines").at(3), "signed");
  EXPECT_EQ(report.at("tokenLog").at("on"), false);
}

TEST(Support, HoldsNeitherThePinNorTheHomeFolderAndKeepsTheLabelsOfTheCard) {
  const RealCard card({"--key", "p256"});
  card.Write(kLog, "made in " + card.Path("home") + "\nPIN=" + RealCard::Pin() + "\n\x1b[31mred\n");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--support"}, std::vector<std::string>{"--support", "--json"}}) {
    const std::string output = App(card, arguments).output;
    EXPECT_THAT(output,
                AllOf(Not(HasSubstr(RealCard::Pin())), Not(HasSubstr(card.Path("home"))), Not(HasSubstr("\x1b")),
                      HasSubstr("PIN=(removed)"), HasSubstr("made in ~"), HasSubstr("EC P-256 certificate 1")));
  }
}

TEST(Support, ShowsALogThatIsNoUtf8) {
  const RealCard card({"--key", "p256"});
  card.Write(kLog, "label Ann\xE4\nnext\n");
  EXPECT_THAT(SupportOf(card).at("tokenLog").at("lines"), ElementsAre("label Ann\u00e4", "next"));
}

TEST(Support, WithoutALogAndWithoutACardStillReports) {
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  const nlohmann::json report = SupportOf(card);
  EXPECT_TRUE(report.at("lastFailingCall").is_null());
  EXPECT_TRUE(report.at("tokenLog").at("lines").empty());
  EXPECT_EQ(report.at("status").at("readers").at(0).at("state"), "empty");
}

}  // namespace
