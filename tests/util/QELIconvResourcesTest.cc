#include <gtest/gtest.h>

#include <cerrno>
#include <stdexcept>

#include "tests/support/CountedAllocations.h"
#include "tests/util/IconvSpy.h"
#include "tests/util/MessageOf.h"
#include "util/QELIconv.h"

namespace {

using QELIconv::Convert;

TEST(QELIconvResources, AnUnexpectedErrorIsNamedWithItsNumber) {
  for (const int error : {EPERM, EINTR, EIO, EBADF, ENOMEM, 9999}) {
    const IconvSpy::Failing failing(error);
    EXPECT_EQ(MessageOf([] { Convert<wchar_t, char>("a", "ASCII"); }),
              "iconv from encoding 'ASCII' to 'UTF-32LE' failed with errno " + std::to_string(error));
  }
}

TEST(QELIconvResources, AConverterThatNeverHasRoomIsAnErrorAndNoEndlessLoop) {
  const IconvSpy::Failing failing(E2BIG);
  EXPECT_EQ(MessageOf([] { Convert<wchar_t, char>("a"); }),
            "iconv from encoding 'UTF-8' to 'UTF-32LE' failed with errno " + std::to_string(E2BIG));
}

TEST(QELIconvResources, AConverterIsPutIntoItsInitialStateOnceBeforeItConverts) {
  const int before = IconvSpy::FreshStarts();
  Convert<wchar_t, char>("a");
  EXPECT_EQ(IconvSpy::FreshStarts(), before + 1);
}

TEST(QELIconvResources, ALongInputNeedsOneConverterWhereTheTargetHasEveryCharacter) {
  const int before = IconvSpy::FreshStarts();
  Convert<wchar_t, char>(std::string(1024 * 1024, 'a'));
  EXPECT_EQ(IconvSpy::FreshStarts(), before + 1);
}

TEST(QELIconvResources, ACharacterThatNeedsMoreThanTheBufferIsConvertedAllTheSame) {
  EXPECT_EQ((Convert<char, char>("\xBD", "ISO-8859-1", "ASCII//TRANSLIT")), " 1/2 ");
}

TEST(QELIconvResources, TheConverterIsClosedOnEveryPath) {
  const QELIconv::ErrHandler<char, wchar_t> failing = [](const char*&, size_t) -> std::wstring {
    throw std::logic_error("handler");
  };
  EXPECT_EQ(IconvSpy::OpenConverters(), 0);
  Convert<wchar_t, char>("a\xFF", "UTF-8");
  EXPECT_EQ(IconvSpy::OpenConverters(), 0);
  EXPECT_THROW((Convert<wchar_t, char>("a\xFF", failing)), std::logic_error);
  EXPECT_EQ(IconvSpy::OpenConverters(), 0);
  EXPECT_THROW((Convert<wchar_t, char>("a", "none")), std::runtime_error);
  EXPECT_EQ(IconvSpy::OpenConverters(), 0);
  const IconvSpy::Failing broken(EBADF);
  EXPECT_THROW((Convert<wchar_t, char>("a")), std::runtime_error);
  EXPECT_EQ(IconvSpy::OpenConverters(), 0);
}

TEST(QELIconvResources, TheBufferHasFourTimesTheInputAndAtMostOneMebibyte) {
  const std::string small(50000, 'a'), large(300 * 1024, 'a');
  {
    const CountedAllocations allocations;
    Convert<char, char>(small);
    EXPECT_EQ(allocations.Largest(), 200000u);
  }
  const CountedAllocations allocations;
  Convert<char, char>(large);
  EXPECT_EQ(allocations.Largest(), 1024u * 1024u);
}

}  // namespace
