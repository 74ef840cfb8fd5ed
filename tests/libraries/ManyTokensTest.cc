#include <QELBuildConstants.h>

#include "tests/libraries/ProbeTest.h"

namespace {

using Texts = std::vector<std::string>;

// What a run is made of, in order.
const Texts kSettingsRead = {"settings read from Tarnwell.ini", "settings read from com.qel.Tarnwell.ini"};
const Texts kLibraryInitialized = {"card library opened", "C_Initialize flags=0x30000 callbacks=none reserved=none"};
const Texts kDialogOpened = {"PIN dialog library opened"};
const Texts kDialogClosed = {"PIN dialog library closed"};
const Texts kTokenConstructed = {"C_GetSlotList tokenPresent=0 output=?", "C_GetSlotList tokenPresent=0 output=buffer",
                                 "C_CloseAllSessions slot=7", "C_OpenSession slot=7 flags=0x6"};
const Texts kToken = {"token QEL-00A1B2C3"};
const Texts kEndOfMain = {"end of main"};
const Texts kLibraryClosed = {"card library closed"};
const Texts kLibraryFinalized = {"C_Finalize", "card library closed"};

Texts Joined(std::initializer_list<Texts> parts) {
  Texts lines;
  for (const Texts& part : parts) lines.insert(lines.end(), part.begin(), part.end());
  return lines;
}

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
  EXPECT_EQ(Run("complete", {"token"}), Joined({kSettingsRead,
                                                kLibraryInitialized,
                                                kDialogOpened,
                                                kTokenConstructed,
                                                kToken,
                                                {"C_CloseSession session=101"},
                                                kEndOfMain,
                                                kDialogClosed,
                                                kLibraryFinalized}));
}

TEST_F(ManyTokensTest, LaterTokensReadNoSettingsAndLoadAndInitializeNothing) {
  const Texts lines = Run("complete", {"token", "token", "keep"});
  ASSERT_GT(lines.size(), 19u);
  EXPECT_EQ(Texts(lines.begin() + 11, lines.begin() + 17),
            Joined({kTokenConstructed, kToken, {"C_CloseSession session=102"}}));
  EXPECT_EQ(WithoutSessions(lines), Joined({kSettingsRead, kLibraryInitialized, kDialogOpened, kToken, kToken, kToken,
                                            kEndOfMain, kDialogClosed, kLibraryFinalized}));
}

TEST_F(ManyTokensTest, AMissingPinDialogFailsBeforeAnySlotIsAskedForAndLeavesThePkcs11LibraryInPlace) {
  const std::string missing =
      "Library QELPINDialog not found in " QEL_LIBRARY_DIR "/Frameworks/QELPINDialog.framework/QELPINDialog";
  EXPECT_EQ(Run("complete", {"dialog", "", "token", "dialog", PIN_DIALOG, "token"}),
            Joined({kSettingsRead,
                    kLibraryInitialized,
                    {"system log error: " + missing, "no token: QELToken -1 " + missing},
                    kDialogOpened,
                    kTokenConstructed,
                    kToken,
                    {"C_CloseSession session=101"},
                    kEndOfMain,
                    kDialogClosed,
                    kLibraryFinalized}));
}

TEST_F(ManyTokensTest, AMissingPkcs11LibraryLeavesNothingInPlaceAndTheNextTokenTriesAgain) {
  const std::string path = ExecutableFolder("complete") + "/../Frameworks/libQELTarnwellPkcs11.dylib";
  const std::string missing = "Library PKCS11 not found in " + path;
  EXPECT_EQ(WithoutSessions(Run("complete", {"library", "", "token", "library", path, "token"})),
            Joined({kSettingsRead,
                    {"system log error: " + missing, "no token: QELToken -1 " + missing},
                    kLibraryInitialized,
                    kDialogOpened,
                    kToken,
                    kEndOfMain,
                    kDialogClosed,
                    kLibraryFinalized}));
}

TEST_F(ManyTokensTest, ALibraryThatRefusesInitializationIsLoadedAnewByTheNextToken) {
  EXPECT_EQ(
      WithoutSessions(Run("complete", {"fail", "C_Initialize", "0x30", "token", "token"})),
      Joined({kSettingsRead,
              kLibraryInitialized,
              kLibraryClosed,
              {"system log error: C_Initialize => 0x00000030", "system log error: PKCS11 library initialization failed",
               "no token: QELToken -3 PKCS11 library initialization failed"},
              kLibraryInitialized,
              kDialogOpened,
              kToken,
              kEndOfMain,
              kDialogClosed,
              kLibraryFinalized}));
}

TEST_F(ManyTokensTest, APinDialogWithoutItsEntryPointIsClosedAndFailsTheToken) {
  EXPECT_EQ(Run("complete", {"dialog", PIN_DIALOG_WITHOUT_ENTRY, "token"}),
            Joined({kSettingsRead,
                    kLibraryInitialized,
                    kDialogOpened,
                    kDialogClosed,
                    {"system log error: Unable to find function PINPadDialogP",
                     "no token: QELToken -9 Unable to find function PINPadDialogP"},
                    kEndOfMain,
                    kLibraryFinalized}));
}
