#include <QELBuildConstants.h>

#include "tests/libraries/ProbeTest.h"

namespace {

const char kInitialized[] = "C_Initialize flags=0x30000 callbacks=none reserved=none";

}  // namespace

/// One process that makes several tokens.
class ManyTokensTest : public ProbeTest {
 protected:
  /// The lines with the settings' and the libraries' comings and goings only.
  static Texts WithoutSessions(const Texts& lines) {
    Texts kept;
    for (const std::string& line : lines) {
      const bool told =
          line.rfind("C_GetSlotList", 0) == 0 || line.rfind("C_OpenSession", 0) == 0 || line.rfind("C_Close", 0) == 0;
      if (!told) kept.push_back(line);
    }
    return kept;
  }
};

TEST_F(ManyTokensTest, TheFirstTokenReadsTheSettingsAndLoadsThePkcs11LibraryThenThePinDialog) {
  EXPECT_EQ(Run("complete", {"token"}), (Texts{
                                            "settings read from Tarnwell.ini",
                                            "settings read from com.qel.Tarnwell.ini",
                                            "card library opened",
                                            kInitialized,
                                            "PIN dialog library opened",
                                            "C_GetSlotList tokenPresent=0 output=?",
                                            "C_GetSlotList tokenPresent=0 output=buffer",
                                            "C_CloseAllSessions slot=7",
                                            "C_OpenSession slot=7 flags=0x6",
                                            "token QEL-00A1B2C3",
                                            "C_CloseSession session=101",
                                            "end of main",
                                            "PIN dialog library closed",
                                            "C_Finalize",
                                            "card library closed",
                                        }));
}

TEST_F(ManyTokensTest, LaterTokensReadNoSettingsAndLoadAndInitializeNothing) {
  const Texts lines = Run("complete", {"token", "token", "keep"});
  ASSERT_GT(lines.size(), 19u);
  const Texts second(lines.begin() + 11, lines.begin() + 17);
  EXPECT_EQ(second, (Texts{
                        "C_GetSlotList tokenPresent=0 output=?",
                        "C_GetSlotList tokenPresent=0 output=buffer",
                        "C_CloseAllSessions slot=7",
                        "C_OpenSession slot=7 flags=0x6",
                        "token QEL-00A1B2C3",
                        "C_CloseSession session=102",
                    }));
  EXPECT_EQ(WithoutSessions(lines), (Texts{
                                        "settings read from Tarnwell.ini",
                                        "settings read from com.qel.Tarnwell.ini",
                                        "card library opened",
                                        kInitialized,
                                        "PIN dialog library opened",
                                        "token QEL-00A1B2C3",
                                        "token QEL-00A1B2C3",
                                        "token QEL-00A1B2C3",
                                        "end of main",
                                        "PIN dialog library closed",
                                        "C_Finalize",
                                        "card library closed",
                                    }));
}

TEST_F(ManyTokensTest, AMissingPinDialogFailsBeforeAnySlotIsAskedForAndLeavesThePkcs11LibraryInPlace) {
  const Texts lines = Run("complete", {"dialog", "", "token", "dialog", PIN_DIALOG, "token"});
  const std::string missing = std::string(QEL_LIBRARY_DIR) + "/Frameworks/QELPINDialog.framework/QELPINDialog";
  EXPECT_EQ(lines, (Texts{
                       "settings read from Tarnwell.ini",
                       "settings read from com.qel.Tarnwell.ini",
                       "card library opened",
                       kInitialized,
                       "system log error: Library QELPINDialog not found in " + missing,
                       "no token: QELToken -1 Library QELPINDialog not found in " + missing,
                       "PIN dialog library opened",
                       "C_GetSlotList tokenPresent=0 output=?",
                       "C_GetSlotList tokenPresent=0 output=buffer",
                       "C_CloseAllSessions slot=7",
                       "C_OpenSession slot=7 flags=0x6",
                       "token QEL-00A1B2C3",
                       "C_CloseSession session=101",
                       "end of main",
                       "PIN dialog library closed",
                       "C_Finalize",
                       "card library closed",
                   }));
}

TEST_F(ManyTokensTest, AMissingPkcs11LibraryLeavesNothingInPlaceAndTheNextTokenTriesAgain) {
  const std::string path = ExecutableFolder("complete") + "/../Frameworks/libQELTarnwellPkcs11.dylib";
  const Texts lines = Run("complete", {"library", "", "token", "library", path, "token"});
  EXPECT_EQ(WithoutSessions(lines), (Texts{
                                        "settings read from Tarnwell.ini",
                                        "settings read from com.qel.Tarnwell.ini",
                                        "system log error: Library PKCS11 not found in " + path,
                                        "no token: QELToken -1 Library PKCS11 not found in " + path,
                                        "card library opened",
                                        kInitialized,
                                        "PIN dialog library opened",
                                        "token QEL-00A1B2C3",
                                        "end of main",
                                        "PIN dialog library closed",
                                        "C_Finalize",
                                        "card library closed",
                                    }));
}

TEST_F(ManyTokensTest, ALibraryThatRefusesInitializationIsLoadedAnewByTheNextToken) {
  const Texts lines = Run("complete", {"fail", "C_Initialize", "0x30", "token", "token"});
  EXPECT_EQ(WithoutSessions(lines), (Texts{
                                        "settings read from Tarnwell.ini",
                                        "settings read from com.qel.Tarnwell.ini",
                                        "card library opened",
                                        kInitialized,
                                        "card library closed",
                                        "system log error: C_Initialize => 0x00000030",
                                        "system log error: PKCS11 library initialization failed",
                                        "no token: QELToken -3 PKCS11 library initialization failed",
                                        "card library opened",
                                        kInitialized,
                                        "PIN dialog library opened",
                                        "token QEL-00A1B2C3",
                                        "end of main",
                                        "PIN dialog library closed",
                                        "C_Finalize",
                                        "card library closed",
                                    }));
}

TEST_F(ManyTokensTest, APinDialogWithoutItsEntryPointIsClosedAndFailsTheToken) {
  const Texts lines = Run("complete", {"dialog", PIN_DIALOG_WITHOUT_ENTRY, "token"});
  EXPECT_EQ(lines, (Texts{
                       "settings read from Tarnwell.ini",
                       "settings read from com.qel.Tarnwell.ini",
                       "card library opened",
                       kInitialized,
                       "PIN dialog library opened",
                       "PIN dialog library closed",
                       "system log error: Unable to find function PINPadDialogP",
                       "no token: QELToken -9 Unable to find function PINPadDialogP",
                       "end of main",
                       "C_Finalize",
                       "card library closed",
                   }));
}
