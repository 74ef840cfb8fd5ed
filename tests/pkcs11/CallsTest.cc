#include "pkcs11/Calls.h"

#include <type_traits>

#include "pkcs11/QELTokenException.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Failure.h"

TEST(FormatValueTest, PrintsEightUpperCaseHexDigits) {
  EXPECT_EQ(PKCS11::FormatValue("() => 0x%08lX", 0xA4), "() => 0x000000A4");
  EXPECT_EQ(PKCS11::FormatValue("0x%08lX", CKR_VENDOR_DEFINED | 0xABCDEF), "0x80ABCDEF");
}

TEST(FormatValueTest, PrintsMoreDigitsWhereTheValueHasMore) {
  EXPECT_EQ(PKCS11::FormatValue("0x%08lX", 0x123456789A), "0x123456789A");
}

TEST(FormatValueTest, PrintsDecimal) {
  EXPECT_EQ(PKCS11::FormatValue("C_Login rv = %lu", 160), "C_Login rv = 160");
}

TEST(FormatValueTest, PrintsASingleCharacter) {
  EXPECT_EQ(PKCS11::FormatValue("%lu", 7), "7");
}

TEST(FormatValueTest, PrintsTextOfAnyLength) {
  for (const size_t length : {15, 16, 62, 63, 64, 127, 128, 255, 256, 1023, 5000}) {
    const std::string text(length, 'x');
    EXPECT_EQ(PKCS11::FormatValue((text + "%lu").c_str(), 7), text + "7");
  }
}

TEST(FormatValueTest, AFormatThatGivesNothingGivesTheEmptyText) {
  EXPECT_EQ(PKCS11::FormatValue("", 1), "");
}

TEST(FormatValueTest, AFormatThatIsRefusedGivesTheEmptyText) {
  EXPECT_EQ(PKCS11::FormatValue("%lc", 0x80000000), "") << "no character of any locale has that number";
}

TEST(CallResultTest, ASuccessIsNotLogged) {
  CapturedLog log;
  EXPECT_TRUE(PKCS11::Succeeded("C_Sign", CKR_OK));
  PKCS11::Require("C_Sign", CKR_OK, -6, "unused");
  EXPECT_EQ(log.Lines(), LogLines{});
}

TEST(CallResultTest, AFailureIsLoggedAtTheLevelThatIsAskedFor) {
  CapturedLog log;
  EXPECT_FALSE(PKCS11::Succeeded("C_Sign", CKR_DATA_INVALID));
  EXPECT_FALSE(PKCS11::Succeeded("C_Other", CKR_DATA_INVALID, QELLog::LogLevel::Info));
  EXPECT_EQ(log.Lines(), (LogLines{{kError, "C_Sign() => 0x00000020"}, {kInfo, "C_Other() => 0x00000020"}}));
}

TEST(CallResultTest, AValueBeyond32BitsIsAFailureAndPrintedWhole) {
  CapturedLog log;
  EXPECT_FALSE(PKCS11::Succeeded("C_Sign", 0x100000000));
  EXPECT_FALSE(PKCS11::Succeeded("C_Sign", 0xFFFFFFFF00000030));
  EXPECT_EQ(log.Errors(), (Texts{"C_Sign() => 0x100000000", "C_Sign() => 0xFFFFFFFF00000030"}));
}

TEST(CallResultTest, AFailureIsLoggedBeforeItIsThrown) {
  CapturedLog log;
  LogLines atThrow;
  const auto failure = CatchTokenException([&] {
    struct AtThrow {
      ~AtThrow() { lines = log.Lines(); }
      CapturedLog& log;
      LogLines& lines;
    } const atThrowGuard{log, atThrow};
    PKCS11::Require("C_Sign", CKR_DATA_INVALID, -6, "message");
  });
  EXPECT_TRUE(IsFailure(failure, -6, "message"));
  EXPECT_EQ(atThrow, (LogLines{{kError, "C_Sign() => 0x00000020"}}));
}

TEST(CallResultTest, AFailureIsReportedWithoutALogToo) {
  EXPECT_FALSE(PKCS11::Succeeded("C_Sign", CKR_DATA_INVALID));
}

TEST(ScopedFunctionListTest, PutsThePreviousListBackAndIsNotCopied) {
  CK_FUNCTION_LIST outer{}, inner{};
  {
    const PKCS11::ScopedFunctionList first(&outer);
    {
      const PKCS11::ScopedFunctionList second(&inner);
      EXPECT_EQ(PKCS11::Functions(), &inner);
    }
    EXPECT_EQ(PKCS11::Functions(), &outer);
  }
  EXPECT_EQ(PKCS11::Functions(), nullptr);
  EXPECT_FALSE(std::is_copy_constructible_v<PKCS11::ScopedFunctionList>);
  EXPECT_FALSE(std::is_copy_assignable_v<PKCS11::ScopedFunctionList>);
}
