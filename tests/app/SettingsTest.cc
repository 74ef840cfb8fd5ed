// What `QELToken --support` prints of settings files, for a user with a home folder of its own.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "tests/host/commands/UserHome.h"

namespace {

nlohmann::json SettingsOf(const UserHome& home) {
  const ChildResult result = RunChild(QEL_APP, {"--support", "--json"}, home.Environment());
  return nlohmann::json::parse(result.output).at("settings");
}

TEST(SupportSettings, NameTheFileThatASettingComesFrom) {
  const UserHome home;
  home.TurnTokenLogOn();
  const nlohmann::json settings = SettingsOf(home);
  EXPECT_EQ(settings.at("values").at(0),
            (nlohmann::json{
                {"key", "Pkcs11:LogLevelPkcs11"}, {"value", "1"}, {"origin", "~/Library/Preferences/Tarnwell.ini"}}));
  EXPECT_EQ(settings.at("files").at(0).at("state"), "read");
  EXPECT_EQ(settings.at("files").at(1).at("state"), "missing");
}

TEST(SupportSettings, NameTheLineThatIsNotUnderstood) {
  const UserHome home;
  home.Append("Library/Preferences/Tarnwell.ini", "[Pkcs11]\nLogLevelPkcs11 = 1\n\nno value here\n");
  const nlohmann::json file = SettingsOf(home).at("files").at(0);
  EXPECT_EQ(file.at("state"), "not understood");
  EXPECT_EQ(file.at("line"), 4);
}

}  // namespace
