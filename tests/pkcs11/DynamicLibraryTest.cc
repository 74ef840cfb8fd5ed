#include "pkcs11/DynamicLibrary.h"

#include <dlfcn.h>

#include <type_traits>

#include "pkcs11/QELTokenException.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Failure.h"
#include "tests/support/LoaderRedirect.h"

namespace {

// The path that is asked for; the loader is sent elsewhere.
constexpr char kPath[] = "/Folder/../libAsked.dylib";

class DynamicLibraryTest : public ::testing::Test {
 protected:
  static std::optional<QELTokenException> FailureOf(const std::string& path) {
    return CatchTokenException([&] { DynamicLibrary(path.c_str(), "PKCS11"); });
  }

  CapturedLog m_log;
};

}  // namespace

TEST_F(DynamicLibraryTest, OpensThePathLazilyAndForItselfOnly) {
  LoaderRedirect redirect("libAsked", CARD_MODULE);
  const DynamicLibrary library(kPath, "PKCS11");
  EXPECT_EQ(LoadedPaths().back(), kPath);
  EXPECT_EQ(FlagsOfLatestLoad(), RTLD_LAZY | RTLD_LOCAL);
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_F(DynamicLibraryTest, LooksSymbolsUpAndGivesNullForAMissingOne) {
  LoaderRedirect redirect("libAsked", CARD_MODULE);
  const DynamicLibrary library(kPath, "PKCS11");
  EXPECT_NE(library.LoadSymbol("C_GetFunctionList"), nullptr);
  EXPECT_EQ(library.LoadSymbol("C_NoSuchFunction"), nullptr);
}

TEST_F(DynamicLibraryTest, ClosesTheLibraryWithItself) {
  LoaderRedirect redirect("libAsked", CARD_MODULE);
  const auto isLoaded = [] {
    void* handle = dlopen(CARD_MODULE, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) dlclose(handle);
    return handle != nullptr;
  };
  {
    const DynamicLibrary library(kPath, "PKCS11");
    EXPECT_TRUE(isLoaded());
  }
  EXPECT_FALSE(isLoaded());
}

TEST_F(DynamicLibraryTest, AMissingLibraryIsNamedWithItsPathAsItWasGiven) {
  EXPECT_TRUE(IsFailure(FailureOf(kPath), -1, std::string("Library PKCS11 not found in ") + kPath));
}

TEST_F(DynamicLibraryTest, LogsTheLoadersReason) {
  FailureOf("/nonexistent/lib.so");
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError,
                                      "dlopen error = /nonexistent/lib.so: cannot open shared object file: "
                                      "No such file or directory"}}));
}

TEST_F(DynamicLibraryTest, AReasonInOtherLettersStaysReadable) {
  FailureOf("/nonexistent/M\xC3\xB6we.so");
  ASSERT_EQ(m_log.Errors().size(), 1u);
  EXPECT_EQ(m_log.Errors().front().find("dlopen error = /nonexistent/M\xC3\xB6we.so: "), 0u);
}

TEST_F(DynamicLibraryTest, AReasonThatIsNotUtf8IsNotLost) {
  FailureOf("/nonexistent/M\xF6we.so");
  ASSERT_EQ(m_log.Errors().size(), 1u);
  EXPECT_EQ(m_log.Errors().front().find("dlopen error = /nonexistent/M\xF6we.so: cannot open"), 0u);
}

TEST_F(DynamicLibraryTest, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<DynamicLibrary>);
  EXPECT_FALSE(std::is_copy_assignable_v<DynamicLibrary>);
}

TEST_F(DynamicLibraryTest, WithoutAReasonTheLogSaysSo) {
  const SilentLoader silent;
  EXPECT_TRUE(IsFailure(FailureOf("/nonexistent/lib.so"), -1, "Library PKCS11 not found in /nonexistent/lib.so"));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "dlopen error = <unavailable>"}}));
}
