#include "tests/libraries/ProbeTest.h"

class LoadingTest : public ProbeTest {};

TEST_F(LoadingTest, ALibraryIsOpenedInitializedFinalizedAndClosed) {
  EXPECT_EQ(Run("complete", {"module"}), (Texts{
                                             "card library opened",
                                             "C_Initialize flags=0x30000 callbacks=none reserved=none",
                                             "module with slot type",
                                             "C_Finalize",
                                             "card library closed",
                                             "end of main",
                                         }));
}

TEST_F(LoadingTest, ALibraryWithoutTheVendorsFunctionLoadsAndHasNone) {
  EXPECT_EQ(Run("no_slot_type", {"module"}), (Texts{
                                                 "card library opened",
                                                 "C_Initialize flags=0x30000 callbacks=none reserved=none",
                                                 "module without slot type",
                                                 "C_Finalize",
                                                 "card library closed",
                                                 "end of main",
                                             }));
}

TEST_F(LoadingTest, ALibraryWithoutAFunctionListIsClosedAndRefusedWithoutALogLine) {
  EXPECT_EQ(Run("no_function_list", {"log", "module"}), (Texts{
                                                            "card library opened",
                                                            "card library closed",
                                                            "failure -9: PKCS11 function list not found",
                                                            "end of main",
                                                            "logging ended",
                                                        }));
}

TEST_F(LoadingTest, ALibraryThatRefusesItsFunctionListIsClosedAndRefusedUnderAnotherCode) {
  EXPECT_EQ(Run("function_list_refused", {"log", "module"}), (Texts{
                                                                 "card library opened",
                                                                 "card library closed",
                                                                 "failure -2: PKCS11 function list not found",
                                                                 "system log error: C_GetFunctionList => 0x00000002",
                                                                 "end of main",
                                                                 "logging ended",
                                                             }));
}

TEST_F(LoadingTest, ALibraryThatSucceedsWithoutAFunctionListIsRefused) {
  EXPECT_EQ(Run("function_list_empty", {"module"}), (Texts{
                                                        "card library opened",
                                                        "card library closed",
                                                        "failure -2: PKCS11 function list not found",
                                                        "system log error: C_GetFunctionList => 0x00000000",
                                                        "end of main",
                                                    }));
}

TEST_F(LoadingTest, ALibraryThatRefusesInitializationIsClosedAndNotFinalized) {
  EXPECT_EQ(Run("initialization_refused", {"log", "module"}), (Texts{
                                                                  "card library opened",
                                                                  "card library closed",
                                                                  "failure -3: PKCS11 library initialization failed",
                                                                  "system log error: C_Initialize => 0x00000030",
                                                                  "end of main",
                                                                  "logging ended",
                                                              }));
}

TEST_F(LoadingTest, ALibraryThatIsInitializedAlreadyIsRefusedLikeAnyOther) {
  EXPECT_EQ(Run("initialization_already_done", {"module"}), (Texts{
                                                                "card library opened",
                                                                "card library closed",
                                                                "failure -3: PKCS11 library initialization failed",
                                                                "system log error: C_Initialize => 0x00000191",
                                                                "end of main",
                                                            }));
}

TEST_F(LoadingTest, ALibraryThatRefusesFinalizationIsClosedAllTheSame) {
  EXPECT_EQ(Run("finalization_refused", {"log", "module"}),
            (Texts{
                "card library opened",
                "C_Initialize flags=0x30000 callbacks=none reserved=none",
                "module without slot type",
                "card library closed",
                "system log error: C_Finalize => 0x00000032",
                "end of main",
                "logging ended",
            }));
}

TEST_F(LoadingTest, ASystemLogThatTakesNoErrorsGetsNone) {
  for (const char* bundle : {"function_list_refused", "initialization_refused", "finalization_refused"}) {
    for (const std::string& line : Run(bundle, {"no-errors", "module"})) {
      EXPECT_EQ(line.find("system log"), std::string::npos) << bundle << ": " << line;
    }
  }
}

TEST_F(LoadingTest, AMissingLibraryIsNamedWithThePathThatKeepsItsDots) {
  const std::string path = ExecutableFolder("no_library") + "/../Frameworks/libQELTarnwellPkcs11.dylib";
  EXPECT_EQ(Run("no_library", {"log", "module"}),
            (Texts{
                "log 2: dlopen error = " + path + ": cannot open shared object file: No such file or directory",
                "failure -1: Library PKCS11 not found in " + path,
                "end of main",
                "logging ended",
            }));
}
