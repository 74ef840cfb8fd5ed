#include "report/Redaction.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

TEST(FailingCall, IsNamedWithItsReturnValue) {
  const struct {
    const char* line;
    const char* call;
  } kRows[] = {
      {"2026-11-21 [1-0] Error C_SignInit() => 0x00000060", "C_SignInit => CKR_KEY_HANDLE_INVALID"},
      {"C_Initialize => 0x00000030", "C_Initialize => CKR_DEVICE_ERROR"},
      {"C_Login() => 0x80000001", "C_Login => 0x80000001"},
      {"C_FindObjects() => 0x00000005, C_Sign() => 0x00000101", "C_Sign => CKR_USER_NOT_LOGGED_IN"},
      {"C_Sign() => 0x00000101, C_FindObjectsFinal() => 0x00000000", "C_Sign => CKR_USER_NOT_LOGGED_IN"},
      {"C_Sign() => 0x00000000", ""},
      {"C_Sign() => 0x101", ""},
      {"XC_Sign() => 0x00000101", ""},
      {"Loading content from QEL-1 [slot 0]", ""},
      {"", ""},
  };
  for (const auto& row : kRows) EXPECT_EQ(Report::FailingCallIn(row.line), row.call) << row.line;
}

TEST(Secrets, AreTakenOutOfALineOfTheLog) {
  const struct {
    const char* line;
    const char* shown;
  } kRows[] = {
      {"C_Login PIN=739154 refused", "C_Login PIN=(removed) refused"},
      {"pin: 739154", "pin: (removed)"},
      {"Password \"geheim\"", "Password \"(removed)"},
      {"value 00112233445566778899aabbccddeeff0011", "value (removed)"},
      {"C_SignInit() => 0x00000060 of 1201", "C_SignInit() => 0x00000060 of 1201"},
      {"C_Login rv = 160", "C_Login rv = 160"},
      {"PIN=$ecret!", "PIN=(removed)"},
      {"PIN: \u00e4\u00f6\u00fc", "PIN: (removed)"},
      {"passphrase = \"two words\", then more", "passphrase = \"(removed), then more"},
      {"secret 'never closed and", "secret '(removed) closed and"},
      {"PIN", "PIN"},
      {"PIN: ", "PIN: "},
      {"my_pin=7", "my_pin=7"},
      {"value 0123456789abcdef0123456789abcde", "value 0123456789abcdef0123456789abcde"},
      {"spinning 12", "spinning 12"},
      {"Non pin pad reader ready to auth", "Non pin pad reader ready to auth"},
      {"Pin pad reader ready to auth", "Pin pad reader ready to auth"},
      {"in ACME PIN Reader 00 00", "in ACME PIN Reader 00 00"},
      {"PIN padding", "PIN (removed)"},
      {"PIN: pad", "PIN: (removed)"},
      {"PIN pad: PIN 739154", "PIN pad: PIN (removed)"},
      {"", ""},
  };
  for (const auto& row : kRows) EXPECT_EQ(Report::WithoutSecrets(row.line), row.shown) << row.line;
}

TEST(Secrets, AreTakenOutOfALineOfAnyLength) {
  const std::string blanks(1 << 20, ' '), digits(1 << 20, '7'), letters(1 << 20, 'x');
  EXPECT_EQ(Report::WithoutSecrets("PIN=" + digits), "PIN=(removed)");
  EXPECT_EQ(Report::WithoutSecrets("PIN:" + blanks + "1234"), "PIN:" + blanks + "(removed)");
  EXPECT_EQ(Report::WithoutSecrets(letters), letters);
}

TEST(ThePerson, IsTakenOutOfAText) {
  setenv("HOME", "/somewhere/else/ada", 1);
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  EXPECT_EQ(Report::WithoutThePerson("in /somewhere/else/ada/Documents"), "in ~/Documents");
  EXPECT_EQ(Report::WithoutThePerson(std::string("in ") + getpwuid(getuid())->pw_dir + "/x"), "in ~/x");
  EXPECT_EQ(Report::WithoutThePerson(std::string("on ") + host), "on (this computer)");
}

TEST(ThePerson, IsNotTakenOutOfLongerWords) {
  setenv("HOME", "/ada", 1);
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  const std::string text = std::string("/adam /srv/ada x") + host + " " + host + "y";
  EXPECT_EQ(Report::WithoutThePerson(text), text);
}

}  // namespace
