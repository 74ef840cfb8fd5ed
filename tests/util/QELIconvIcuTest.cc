// Comparison with ICU, a converter that shares nothing with iconv.

#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <fstream>
#include <random>
#include <sstream>

#include "util/QELIconv.h"

namespace {

using QELIconv::Convert;

/// UTF-16 from ICU; every well-formed text has one.
std::u16string IcuUtf16(const std::string& utf8) {
  std::u16string text(utf8.size(), u'\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(text.data(), static_cast<int32_t>(text.size()), &length, utf8.data(), static_cast<int32_t>(utf8.size()),
                &status);
  EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  text.resize(length);
  return text;
}

/// The well-formed characters of a byte string by ICU's reader, with each byte of the rest escaped.
std::u32string IcuEscaped(const std::string& bytes) {
  std::u32string text;
  const auto length = static_cast<int32_t>(bytes.size());
  for (int32_t i = 0; i < length;) {
    const int32_t start = i;
    UChar32 character = 0;
    U8_NEXT(bytes.data(), i, length, character);
    if (character >= 0) {
      text += static_cast<char32_t>(character);
      continue;
    }
    i = start + 1;
    std::ostringstream escape;
    escape << "'\\x" << std::hex << static_cast<int>(static_cast<unsigned char>(bytes[start])) << "'";
    for (const char c : escape.str()) text += static_cast<char32_t>(c);
  }
  return text;
}

std::string Utf8(char32_t scalar) {
  char bytes[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, static_cast<UChar32>(scalar));
  return {bytes, static_cast<size_t>(length)};
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(QELIconvAgainstIcu, EveryScalarValueHasTheSameEncodings) {
  std::string utf8;
  std::u32string utf32;
  for (char32_t scalar = 1; scalar <= 0x10FFFF; ++scalar) {
    if (U_IS_SURROGATE(scalar)) continue;
    utf32 += scalar;
    utf8 += Utf8(scalar);
  }
  EXPECT_TRUE((Convert<char, char32_t>(utf32) == utf8));
  EXPECT_TRUE((Convert<char16_t, char>(utf8) == IcuUtf16(utf8)));
  EXPECT_TRUE((Convert<char32_t, char>(utf8) == utf32));
}

TEST(QELIconvAgainstIcu, TheStressFileOfMalformedSequencesIsReadTheSameLineByLine) {
  std::istringstream file(ReadFile(QEL_TEST_DATA "/malformed-utf8.txt"));
  std::string line;
  int lines = 0;
  while (std::getline(file, line)) {
    EXPECT_TRUE((Convert<char32_t, char>(line) == IcuEscaped(line))) << line;
    ++lines;
  }
  EXPECT_GE(lines, 60);
}

TEST(QELIconvAgainstIcu, TenThousandRandomByteStringsAreReadTheSame) {
  std::mt19937 random(20240305);
  for (int i = 0; i < 10000; ++i) {
    std::string bytes(random() % 64, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    ASSERT_TRUE((Convert<char32_t, char>(bytes) == IcuEscaped(bytes))) << "string " << i;
  }
}

TEST(QELIconvAgainstIcu, WellFormedTextAmongRandomBytesIsNeverLost) {
  std::mt19937 random(412);
  for (int i = 0; i < 10000; ++i) {
    std::string bytes;
    for (int piece = random() % 12; piece > 0; --piece) {
      char32_t scalar = random() % 0x110000;
      if (U_IS_SURROGATE(scalar)) scalar = U'a';
      bytes += random() % 2 == 0 ? Utf8(scalar) : std::string(1, static_cast<char>(random()));
    }
    ASSERT_TRUE((Convert<char32_t, char>(bytes) == IcuEscaped(bytes))) << "string " << i;
  }
}

}  // namespace
