#include "tests/libraries/ProbeTest.h"

/// The end of a process, read from outside.
class TeardownTest : public ProbeTest {
 protected:
  /// What is written after main.
  Texts AfterMain(Texts actions) const {
    const Texts lines = Run("complete", std::move(actions));
    auto end = lines.begin();
    while (end != lines.end() && *end != "end of main") ++end;
    return end == lines.end() ? Texts{"main did not end"} : Texts(end + 1, lines.end());
  }
};

TEST_F(TeardownTest, ThePinDialogGoesFirstThenThePkcs11LibraryThenLogging) {
  EXPECT_EQ(AfterMain({"log", "token"}), (Texts{
                                             "PIN dialog library closed",
                                             "C_Finalize",
                                             "card library closed",
                                             "logging ended",
                                         }));
}

TEST_F(TeardownTest, LoggingThatIsTakenUpAfterTheLibrariesStillEndsLast) {
  EXPECT_EQ(AfterMain({"token", "log"}), (Texts{
                                             "PIN dialog library closed",
                                             "C_Finalize",
                                             "card library closed",
                                             "logging ended",
                                         }));
}

TEST_F(TeardownTest, ATokenThatIsNeverReleasedDoesNotDisturbTheEnd) {
  EXPECT_EQ(AfterMain({"keep"}), (Texts{"PIN dialog library closed", "C_Finalize", "card library closed"}));
}

TEST_F(TeardownTest, AProcessThatNeverMadeATokenHasNothingToEnd) {
  EXPECT_EQ(AfterMain({}), Texts{});
}

TEST_F(TeardownTest, AHalfBuiltTokenLeavesTheLibrariesToTheEndToo) {
  EXPECT_EQ(AfterMain({"fail", "C_OpenSession", "0x30", "token"}),
            (Texts{"PIN dialog library closed", "C_Finalize", "card library closed"}));
}

TEST_F(TeardownTest, ARefusedFinalizationDoesNotKeepTheLibraryOpen) {
  EXPECT_EQ(AfterMain({"fail", "C_Finalize", "0x32", "token"}),
            (Texts{"PIN dialog library closed", "C_Finalize", "card library closed"}));
}
