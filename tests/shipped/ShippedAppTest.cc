// The containing app's code that ships, over soft cards: what it prints without a window.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/app/AppProgram.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

TEST(ShippedApp, TellsOfReadersCardsAndCertificates) {
  const RealCard card({"--key", "p256", "--serial", "00A1B2C3"});
  const ChildResult result = App(card, {"--status", "--json"});
  EXPECT_EQ(result.exitStatus, 1);  // there is no registry where macOS has it
  const nlohmann::json status = nlohmann::json::parse(result.output);
  EXPECT_EQ(status.at("extension").at("registration"), "unknown");
  EXPECT_EQ(status.at("pinDialogLibraryMissing"), false);
  const nlohmann::json& token = status.at("readers").at(0).at("tokens").at(0);
  EXPECT_EQ(token.at("tokenID"), "com.qel.QELToken.Extension:QEL-00A1B2C3");
  EXPECT_EQ(token.at("certificates").at(0).at("validity"), "valid");
  EXPECT_EQ(token.at("certificates").at(0).at("key").at("bits"), 256);
}

TEST(ShippedApp, ReportsWithoutSecretsAndWithTheLogOfTheContainer) {
  const RealCard card({"--key", "p256"});
  const std::string log = "home/Library/Containers/com.qel.QELToken.Extension/Data/Documents";
  std::filesystem::create_directories(card.Path(log));
  card.Write(log + "/QELToken.log", "C_Login() => 0x000000A0\nPIN=" + RealCard::Pin() + "\n");
  const ChildResult result = App(card, {"--support"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, AllOf(HasSubstr("  C_Login => CKR_PIN_INCORRECT\n"), HasSubstr("  PIN=(removed)\n"),
                                   Not(HasSubstr(RealCard::Pin())), Not(HasSubstr(card.Path("home")))));
}

}  // namespace
