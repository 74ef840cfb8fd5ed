// What `QELToken --status` prints, over soft cards.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/app/AppProgram.h"
#include "tests/app/DatedCertificate.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

nlohmann::json StatusOf(const RealCard& card) {
  return nlohmann::json::parse(App(card, {"--status", "--json"}).output);
}

TEST(Status, TellsOfTheExtensionTheReaderAndTheCertificates) {
  const RealCard card({"--key", "p256", "--serial", "00A1B2C3"});
  const ChildResult result = App(card, {"--status"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, AllOf(HasSubstr("The extension is registered.\n"), HasSubstr("\nQEL Soft Reader 00\n"),
                                   HasSubstr("  Card QEL-00A1B2C3.\n"), HasSubstr("  EC P-256 certificate 1"),
                                   HasSubstr("; EC, 256 bits; signs")));
}

TEST(Status, IsJsonForPrograms) {
  const RealCard card({"--key", "p256", "--serial", "00A1B2C3"});
  const nlohmann::json status = StatusOf(card);
  EXPECT_EQ(status.at("version"), "1.0.0");
  EXPECT_EQ(status.at("extension").at("registration"), "registered");
  EXPECT_EQ(status.at("extension").at("identifier"), "com.qel.QELToken.Extension");
  EXPECT_EQ(status.at("readersKnown"), true);
  const nlohmann::json& reader = status.at("readers").at(0);
  EXPECT_EQ(reader.at("state"), "card");
  const nlohmann::json& token = reader.at("tokens").at(0);
  EXPECT_EQ(token.at("tokenID"), "com.qel.QELToken.Extension:QEL-00A1B2C3");
  EXPECT_EQ(token.at("ours"), true);
  const nlohmann::json& certificate = token.at("certificates").at(0);
  EXPECT_EQ(certificate.at("validity"), "valid");
  EXPECT_GT(certificate.at("daysLeft"), 3600);
  EXPECT_EQ(certificate.at("key").at("type"), "EC");
  EXPECT_EQ(certificate.at("key").at("bits"), 256);
  EXPECT_EQ(certificate.at("key").at("signs"), true);
}

TEST(Status, TellsOfACertificateThatExpired) {
  const RealCard card({"--key", "p256"});
  const DatedCertificate expired("Old Ada", -100000, -1000);
  card.Write("key.pem", expired.KeyPem());
  card.Write("old.pem", expired.Pem());
  ASSERT_EQ(card.SoftCard({"init", "old", "--pin-file", card.Path("pin"), "--import",
                           card.Path("key.pem") + "," + card.Path("old.pem")})
                .exitStatus,
            0);
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  ASSERT_EQ(card.SoftCard({"insert", "old"}).exitStatus, 0);
  EXPECT_THAT(App(card, {"--status"}).output,
              AllOf(HasSubstr("    Expired "), HasSubstr("Ask whoever issued the card for a new certificate.\n")));
  EXPECT_EQ(StatusOf(card).at("readers").at(0).at("tokens").at(0).at("certificates").at(0).at("validity"), "expired");
}

TEST(Status, TellsWhatToDoWithoutACard) {
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  EXPECT_THAT(App(card, {"--status"}).output, HasSubstr("  No card.\n  Insert your card, chip first.\n"));
}

TEST(Status, TellsThatThePinDialogLibraryIsMissing) {
  const RealCard card({"--key", "p256"});
  EXPECT_EQ(StatusOf(card).at("pinDialogLibraryMissing"), false);
  ChildEnvironment environment = card.Environment();
  environment["QEL_CTKHOST"] = QEL_CTKHOST;
  environment["QEL_LIBRARY_DIR"] = card.Path("Library");
  const nlohmann::json status = nlohmann::json::parse(RunChild(QEL_APP, {"--status", "--json"}, environment).output);
  EXPECT_EQ(status.at("pinDialogLibraryMissing"), true);
  EXPECT_EQ(status.at("readers").at(0).at("state"), "card");
  EXPECT_TRUE(status.at("readers").at(0).at("tokens").empty());
  EXPECT_THAT(RunChild(QEL_APP, {"--status"}, environment).output,
              HasSubstr("\n  Install the software of the card's maker, or ask your administrator to do so.\n"));
}

TEST(Status, WithoutASmartCardServiceKnowsNoCardAndSaysSo) {
  const ChildResult result = RunChild(QEL_APP, {"--status"}, {{"QEL_CTKHOST", std::nullopt}});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, HasSubstr("The system knows no card.\n"));
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--bogus"}, {"--status", "--bogus"}, {"--status", "--json", "more"}, {"--json"}}) {
    const ChildResult result = RunChild(QEL_APP, arguments);
    EXPECT_EQ(result.exitStatus, 2) << arguments.front();
    EXPECT_THAT(result.errors, AllOf(HasSubstr("QELToken: unknown option '" + arguments.back()), HasSubstr("usage:")));
    EXPECT_EQ(result.output, "");
  }
}

TEST(CommandLine, PrintsItsUsage) {
  const ChildResult result = RunChild(QEL_APP, {"--help"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, HasSubstr("--status [--json]"));
}

}  // namespace
