// A converter that replaces what its target lacks, and only counts it, makes no difference.

#include <gtest/gtest.h>

#include "tests/util/IconvSpy.h"
#include "util/QELIconv.h"

namespace {

using QELIconv::Convert;

/// The handler sees each character that the target lacks, with what is left of the input.
struct Seen {
  wchar_t character;
  size_t remaining;
  bool operator==(const Seen& other) const { return character == other.character && remaining == other.remaining; }
};

class ReplacingConverter : public ::testing::Test {
 protected:
  const IconvSpy::Replacing m_replacing;
};

TEST_F(ReplacingConverter, IsWhatTheseTestsRunOver) {
  EXPECT_EQ((Convert<char, char>("\xC3\xA9", "UTF-8", "ASCII//TRANSLIT").find("'\\x")), std::string::npos)
      << "whoever asks the platform to replace gets what it writes";
  Convert<char, wchar_t>(L"a\u00e9", "", "ASCII");
  EXPECT_GT(m_replacing.Count(), 0);
}

TEST_F(ReplacingConverter, WhatTheTargetLacksIsEscaped) {
  EXPECT_EQ((Convert<char, wchar_t>(L"caf\u00e9 \u20ac \U0001F512!", "", "ASCII")), "caf'\\xe9' '\\x20ac' '\\x1f512'!");
  EXPECT_EQ((Convert<char, char>("\xC3\xA9\xE2\x82\xAC", "UTF-8", "ISO-8859-1")), "\xE9'\\xe2''\\x82''\\xac'");
}

TEST_F(ReplacingConverter, AQuestionMarkOfTheInputStays) {
  EXPECT_EQ((Convert<char, wchar_t>(L"?\u00e9?", "", "ASCII")), "?'\\xe9'?");
}

TEST_F(ReplacingConverter, WhatIsInvalidIsEscapedBesideIt) {
  EXPECT_EQ((Convert<char, char>("\xC3\xA9\xFF\xC3\xA9\xC3", "UTF-8", "ASCII")),
            "'\\xc3''\\xa9''\\xff''\\xc3''\\xa9''\\xc3'")
      << "an invalid byte makes the converter forget what it replaced";
}

TEST_F(ReplacingConverter, TheHandlerIsAskedOnceForEachCharacterInOrder) {
  std::vector<Seen> seen;
  const QELIconv::ErrHandler<wchar_t, char> note = [&](const wchar_t*& position, size_t remaining) {
    seen.push_back({*position++, remaining});
    return std::string("*");
  };
  EXPECT_EQ((Convert<char, wchar_t>(L"a\u00e9b\u20ac\u20acc", note, "", "ASCII")), "a*b**c");
  EXPECT_EQ(seen, (std::vector<Seen>{{L'\u00e9', 20}, {L'\u20ac', 12}, {L'\u20ac', 8}}));
}

TEST_F(ReplacingConverter, WhatComesBehindIsWrittenInTheStateThatTheOutputIsIn) {
  EXPECT_EQ(
      (Convert<char, wchar_t>(L"\u3042\U0001F512\u3042", QELIconv::HandleErrIgnore<wchar_t, char>, "", "ISO-2022-JP")),
      "\x1b$B$\"$\"")
      << "a question mark would have switched to ASCII";
}

TEST_F(ReplacingConverter, ATextLongerThanTheBufferIsEscapedThoughTheConverterForgetsItsCountWhenTheBufferIsFull) {
  const std::wstring rest(1200 * 1024, L'\u00e9');
  const auto converted = Convert<char, wchar_t>(L"a\u20ac" + rest, "", "ISO-8859-1");
  EXPECT_TRUE(converted == "a'\\x20ac'" + std::string(rest.size(), '\xE9'));
}

TEST_F(ReplacingConverter, IgnoringAndTheHandlersOfACallerWorkTheSame) {
  EXPECT_EQ(QELIconv::WideChar2String(L"a\u00e9b", QELIconv::HandleErrIgnore<wchar_t, char>, "ASCII"), "ab");
  EXPECT_THROW((Convert<char, wchar_t>(L"\u00e9", QELIconv::ErrHandler<wchar_t, char>(), "", "ASCII")),
               std::bad_function_call);
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(L"\u00e9", true), "'\\xe9'");
}

}  // namespace
