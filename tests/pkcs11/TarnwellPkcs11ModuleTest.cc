#include "pkcs11/TarnwellPkcs11Module.h"

#include <type_traits>

#include "tests/pkcs11/CardTest.h"
#include "tests/support/LoaderRedirect.h"
#include "tests/support/SystemLogLines.h"

using namespace TestCard;

// With the card module loaded through the product's own path; the libraries with peculiarities have a suite of their
// own.
class TarnwellPkcs11ModuleTest : public ::testing::Test {
 protected:
  CapturedLog m_log;
  SystemLog::Captured m_systemLog;
};

TEST_F(TarnwellPkcs11ModuleTest, IsLoadedFromTheFolderBesideTheExecutablesFolder) {
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize"}});
  { const TarnwellPkcs11Module module; }
  EXPECT_EQ(LoadedPaths().back(), EXECUTABLE_FOLDER "/../Frameworks/libQELTarnwellPkcs11.dylib");
}

TEST_F(TarnwellPkcs11ModuleTest, IsLookedForInNoOtherPlace) {
  const LoaderRedirect elsewhere("libQELTarnwellPkcs11", CARD_MODULE);
  const LoaderRedirect missing(EXECUTABLE_FOLDER, "");
  const size_t asked = LoadedPaths().size();
  const std::string path = EXECUTABLE_FOLDER "/../Frameworks/libQELTarnwellPkcs11.dylib";
  EXPECT_TRUE(
      IsFailure(CatchTokenException([] { TarnwellPkcs11Module(); }), -1, "Library PKCS11 not found in " + path));
  EXPECT_EQ(LoadedPaths().size(), asked + 1);
  EXPECT_EQ(LoadedPaths().back(), path);
}

TEST_F(TarnwellPkcs11ModuleTest, InitializesWithTheVendorsFlagsAndNothingElse) {
  const auto check = [](Call& call) {
    const auto* arguments = static_cast<const CK_C_INITIALIZE_ARGS*>(call.output);
    ASSERT_NE(arguments, nullptr);
    EXPECT_EQ(arguments->flags, CK_FLAGS{0x00030000});
    EXPECT_EQ(arguments->CreateMutex, nullptr);
    EXPECT_EQ(arguments->DestroyMutex, nullptr);
    EXPECT_EQ(arguments->LockMutex, nullptr);
    EXPECT_EQ(arguments->UnlockMutex, nullptr);
    EXPECT_EQ(arguments->pReserved, nullptr);
  };
  ScriptedCard card({{"C_Initialize", CKR_OK, check}, {"C_Finalize"}});
  const TarnwellPkcs11Module module;
}

TEST_F(TarnwellPkcs11ModuleTest, FinalizesWithoutAnArgument) {
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize", CKR_OK, [](Call& call) { EXPECT_EQ(call.output, nullptr); }}});
  { const TarnwellPkcs11Module module; }
  EXPECT_EQ(SystemLogLines(m_systemLog), Texts{});
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_F(TarnwellPkcs11ModuleTest, PutsItsFunctionListInForceWhileItLives) {
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize"}});
  ASSERT_EQ(PKCS11::Functions(), nullptr);
  {
    const TarnwellPkcs11Module module;
    EXPECT_EQ(PKCS11::Functions(), FunctionList());
  }
  EXPECT_EQ(PKCS11::Functions(), nullptr);
}

TEST_F(TarnwellPkcs11ModuleTest, PutsThePreviousFunctionListBackBehindItself) {
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize"}, {"C_Initialize", CKR_HOST_MEMORY}});
  CK_FUNCTION_LIST before{};
  const PKCS11::ScopedFunctionList inForce(&before);
  {
    const TarnwellPkcs11Module module;
    EXPECT_EQ(PKCS11::Functions(), FunctionList());
  }
  EXPECT_EQ(PKCS11::Functions(), &before);
  EXPECT_TRUE(CatchTokenException([] { TarnwellPkcs11Module(); }));
  EXPECT_EQ(PKCS11::Functions(), &before) << "nor does a refused library change it";
}

TEST_F(TarnwellPkcs11ModuleTest, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<TarnwellPkcs11Module>);
  EXPECT_FALSE(std::is_copy_assignable_v<TarnwellPkcs11Module>);
}

TEST_F(TarnwellPkcs11ModuleTest, OffersTheVendorsFunction) {
  ScriptedCard card({{"C_Initialize"},
                     {"C_GetSlotType", CKR_OK, [](Call& call) { *static_cast<CK_ULONG*>(call.output) = 0x80000002; }},
                     {"C_Finalize"}});
  const TarnwellPkcs11Module module;
  ASSERT_NE(module.GetSlotTypeFn(), nullptr);
  CK_ULONG type = 0;
  EXPECT_EQ(module.GetSlotTypeFn()(3, &type), CKR_OK);
  EXPECT_EQ(type, CK_ULONG{0x80000002});
}

TEST_F(TarnwellPkcs11ModuleTest, ARefusedInitializationGoesToTheSystemLogAtErrorLevelAndIsNotFinalized) {
  ScriptedCard card({{"C_Initialize", CKR_CRYPTOKI_ALREADY_INITIALIZED}});
  EXPECT_TRUE(
      IsFailure(CatchTokenException([] { TarnwellPkcs11Module(); }), -3, "PKCS11 library initialization failed"));
  EXPECT_EQ(SystemLogLines(m_systemLog), Texts{"error: C_Initialize => 0x00000191"});
  EXPECT_EQ(m_log.Lines(), LogLines{});
  EXPECT_EQ(PKCS11::Functions(), nullptr);
}

TEST_F(TarnwellPkcs11ModuleTest, ARefusedFinalizationGoesToTheSystemLogOnly) {
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize", CKR_DEVICE_REMOVED}});
  { const TarnwellPkcs11Module module; }
  EXPECT_EQ(SystemLogLines(m_systemLog), Texts{"error: C_Finalize => 0x00000032"});
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_F(TarnwellPkcs11ModuleTest, WritesNothingWhenTheSystemLogTakesNoErrors) {
  const SystemLog::ErrorLevelDisabled disabled;
  ScriptedCard card({{"C_Initialize"}, {"C_Finalize", CKR_DEVICE_REMOVED}, {"C_Initialize", CKR_HOST_MEMORY}});
  { const TarnwellPkcs11Module module; }
  EXPECT_TRUE(CatchTokenException([] { TarnwellPkcs11Module(); }));
  EXPECT_EQ(SystemLogLines(m_systemLog), Texts{});
}
