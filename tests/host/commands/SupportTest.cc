#include "host/commands/CardSurvey.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/host/commands/UserHome.h"
#include "tests/integration/RealCard.h"
#include "tests/support/TestCertificates.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

TEST(FateOfACertificate, IsToldWithTheFirstReasonThatKeepsItBack) {
  const auto der = TestCertificates::Ec();
  const std::string value(der.begin(), der.end());
  const struct {
    Host::SurveyedCertificate certificate;
    const char* fate;
  } kRows[] = {
      {{"01", "Anna", value, 1, true}, "published with its key"},
      {{"01", "Anna", value, 1, false}, "published without a key: no public key has its identifier"},
      {{"01", "", value, 1, true}, "published with its key"},
      {{"01", "Ann\xC3\xA4", value, 1, true}, "published with its key"},
      {{"01", "Ann\xE4", value, 1, true}, "skipped: its label is not UTF-8"},
      {{"01", "Anna", "no DER", 1, true}, "skipped: its value is no X.509 certificate"},
      {{"01", "Anna", "", 1, true}, "skipped: its value is no X.509 certificate"},
      {{"01", "Anna", value, 2, true}, "skipped: not a user certificate (its category is 2, not 1)"},
  };
  for (const auto& row : kRows) EXPECT_EQ(Host::FateOf(row.certificate), row.fate);
}

TEST(Support, TellsOfVersionsSettingsReadersItemsAndWhatIsSkipped) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"support"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, AllOf(HasSubstr("ctkhost 1.0.0"), HasSubstr("Pkcs11:LogLevelPkcs11 = 0 (default)\n"),
                                   HasSubstr("card   QEL Soft Reader 00\n"), HasSubstr("  key   12"),
                                   HasSubstr("library: SoftHSM"), HasSubstr("published with its key\n"),
                                   HasSubstr("skipped: not a user certificate (its category is 2, not 1)\n"),
                                   HasSubstr("QELToken.log is missing or empty")));
}

TEST(Support, HoldsNeitherThePinNorTheHomeFolder) {
  const RealCard card({"--key", "p256"});
  card.Write("home/Documents/QELToken.log",
             "made in " + card.Path("home") + "\nC_Login() => 0x000000A0\nPIN=" + RealCard::Pin() + "\n");
  ChildEnvironment environment = card.Environment();
  environment["QEL_MY_PIN"] = RealCard::Pin();
  const ChildResult result = RunChild(QEL_CTKHOST, {"support"}, environment);
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("PIN=(removed)\n"), Not(HasSubstr(RealCard::Pin())), Not(HasSubstr(card.Path("home"))),
                    HasSubstr("made in ~\n"), HasSubstr("in the token log: C_Login => CKR_PIN_INCORRECT\n")));
}

TEST(Support, IsJsonForProgramsWithTheSectionsOfTheText) {
  const RealCard card({"--key", "p256"});
  card.Write("home/Documents/QELToken.log", "made in " + card.Path("home") + "\n\x1b[2J\n");
  const std::string text = card.Host({"support"}).output;
  const auto report = nlohmann::json::parse(card.Host({"--json", "support"}).output);
  std::string joined;
  for (const auto& section : report) {
    joined += section.at("section").get<std::string>() + "\n";
    for (const auto& line : section.at("lines")) joined += line.get<std::string>() + "\n";
    if (section.at("lines").empty()) joined += "  none\n";
    joined += "\n";
  }
  EXPECT_EQ(joined, text);
  EXPECT_EQ(report.back().at("lines"), nlohmann::json({"  made in ~", "  ?[2J"}));
}

TEST(TheExtensionsSystemLog, IsOnStandardErrorWhenAsked) {
  const RealCard card({"--key", "p256"});
  card.Write("message", "hello");
  const std::vector<std::string> sign = {"--pin-file",
                                         card.Path("pin"),
                                         "sign",
                                         "--key",
                                         card.KeyID(),
                                         "--algorithm",
                                         "ecdsa-sha256",
                                         "--in",
                                         card.Path("message"),
                                         "--out",
                                         card.Path("signature")};
  ChildEnvironment environment = card.Environment();
  environment["QEL_OS_LOG_STDERR"] = "1";
  EXPECT_THAT(RunChild(QEL_CTKHOST, sign, environment).errors, HasSubstr("[CTK] finishWithError success: 1"));
  EXPECT_THAT(RunChild(QEL_CTKHOST, sign, card.Environment()).errors, Not(HasSubstr("[CTK]")));
}

TEST(Support, IsWrittenForItsOwnerOnlyAndAsItWasShown) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"support", "--out", card.Path("report"), "--yes"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(card.Text("report"), result.output);
  struct stat status {};
  ASSERT_EQ(stat(card.Path("report").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0600u);
}

TEST(Support, IsNotWrittenWhenNobodyCanBeAsked) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"support", "--out", card.Path("report")});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_THAT(result.errors, HasSubstr("--yes writes it"));
  EXPECT_FALSE(card.Has("report"));
}

TEST(Support, WithoutACardSaysSoAndStillReports) {
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(card.SoftCard({"remove"}).exitStatus, 0);
  const ChildResult result = card.Host({"support"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, AllOf(HasSubstr("Published items\n  no card in any reader"), HasSubstr("    no card\n")));
}

TEST(Support, TellsOfALibraryThatIsMissing) {
  const RealCard card({"--key", "p256"});
  const ChildResult result = card.Host({"--extension", QEL_FAKE_BUNDLE, "support"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, HasSubstr("  the library failed: "));
}

TEST(Support, TellsOfSettingsThatAreNotUnderstood) {
  const UserHome home;
  home.Append("Library/Preferences/Tarnwell.ini", "LogLevelPkcs11 without a value\n");
  const ChildResult result = RunChild(QEL_CTKHOST, {"support"}, home.Environment());
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output,
              HasSubstr("~/Library/Preferences/Tarnwell.ini: not understood (line 1), counts as missing\n"));
}

TEST(Support, TellsOfSettingsAndOfALogThatCannotBeRead) {
  const UserHome home;
  const std::string settings = home.Path("Library/Preferences/Tarnwell.ini");
  std::filesystem::create_symlink(settings, settings);  // root may read everything else
  std::filesystem::create_symlink(home.LogPath(), home.LogPath());
  const ChildResult result = RunChild(QEL_CTKHOST, {"support"}, home.Environment());
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("Tarnwell.ini: cannot be read (Too many levels of symbolic links), counts as missing\n"),
                    HasSubstr("QELToken.log cannot be read: Too many levels of symbolic links\n")));
}

TEST(Support, OutlivesALibraryThatCrashesWhenItIsAsked) {
  const RealCard card({"--key", "p256"});
  ASSERT_EQ(card.SoftCard({"beneath", "--library", QEL_CRASHING_LIBRARY}).exitStatus, 0);
  card.Write("crash", "C_GetInfo crash\n");  // which the extension does not call, but the report
  ChildEnvironment environment = card.Environment();
  environment["QEL_CRASH"] = card.Path("crash");
  environment["ASAN_OPTIONS"] = "detect_leaks=0:handle_segv=0";
  environment["TSAN_OPTIONS"] = "handle_segv=0";
  const ChildResult result = RunChild(QEL_CTKHOST, {"--no-sandbox", "support"}, environment);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.output, AllOf(HasSubstr("  the library ended its process by signal 11\n"),
                                   HasSubstr("\nEnd of the token log\n")));
}

}  // namespace
