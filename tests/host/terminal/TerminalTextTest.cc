#include "host/terminal/TerminalText.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "host/terminal/JsonText.h"

namespace {

using Host::ForTerminal;
using Lines = std::vector<std::string>;

TEST(TerminalText, KnowsTheColumnsOfWideAndOfJoiningCharacters) {
  const struct {
    const char* text;
    size_t columns;
  } kRows[] = {
      {"", 0},     {"abc", 3}, {"äöü", 3},       {"漢字", 4},       {"한글 키", 7},
      {"ＡＢ", 4}, {"😀", 2},   {"e\xCC\x81", 1}, {"\xFF\xC3(a", 4},  // bytes that are not UTF-8 are a question mark
                                                                     // each
  };
  for (const auto& row : kRows) EXPECT_EQ(Host::ColumnsOf(row.text), row.columns) << row.text;
}

TEST(TerminalText, IsCutToItsColumns) {
  const struct {
    const char* text;
    size_t columns;
    const char* shown;
  } kRows[] = {
      {"abcdefgh", 8, "abcdefgh"},
      {"abcdefghi", 8, "abcde..."},
      {"äöüäöüäöü", 8, "äöüäö..."},
      {"漢字漢字", 8, "漢字漢字"},
      {"漢字漢字漢", 8, "漢字..."},  // a third one would begin in the last free column and end outside
      {"漢字漢字漢", 9, "漢字漢..."},
      {"e\xCC\x81"
       "e\xCC\x81",
       2,
       "e\xCC\x81"
       "e\xCC\x81"},
      {"abcd", 3, "..."},
      {"abcd", 2, ".."},
      {"abcd", 0, ""},
  };
  for (const auto& row : kRows) EXPECT_EQ(ForTerminal(row.text, row.columns), row.shown) << row.text;
}

TEST(TerminalText, InLinesKeepsTheLinesAndSteersNothing) {
  EXPECT_EQ(Host::LinesForTerminal("one\ttwo\r\n\x1b[2J\x7F\xC2\x9B"
                                   "31m\n\u202Eabc \xFF ü\n"),
            "one two?\n?[2J??31m\n?abc ? ü\n");
}

TEST(JsonText, EscapesWhatWouldSteerATerminalAndNothingElse) {
  const nlohmann::json value = {{"label", "ü漢\x1b\x7F\xC2\x9B\u202E\u2066\U0010FFFF\n"}};
  const std::string text = Host::JsonText(value);
  EXPECT_EQ(text, "{\"label\":\"ü漢\\u001b\\u007f\\u009b\\u202e\\u2066\\udbff\\udfff\\n\"}");
  EXPECT_EQ(nlohmann::json::parse(text), value);
  EXPECT_EQ(Host::JsonText(value, 2).substr(0, 11), "{\n  \"label\"");
}

TEST(TerminalText, SteersNothing) {
  const struct {
    const char* text;
    const char* shown;
  } kRows[] = {
      {"a\x1b[2Jb", "a?[2Jb"},
      {"a\nb\tc\x7F", "a?b?c?"},
      {"a\xC2\x9B"
       "2J",
       "a?2J"},                               // the control sequence introducer as one character
      {"a\xE2\x80\xAEtxt.exe", "a?txt.exe"},  // from here on from right to left
      {"a\xE2\x81\xA6"
       "b",
       "a?b"},
      {"Ann\xE4 M", "Ann? M"},
      {"\xE6\xBC", "??"},  // half a character
  };
  for (const auto& row : kRows) EXPECT_EQ(ForTerminal(row.text, std::string::npos), row.shown) << row.text;
  EXPECT_EQ(ForTerminal(std::string("a\0b", 3), 9), "a?b");
}

TEST(TerminalText, ACellHasExactlyItsColumns) {
  EXPECT_EQ(Host::Cell("漢字", 6), "漢字  ");
  EXPECT_EQ(Host::Cell("漢字漢字", 6), "漢... ");
  EXPECT_EQ(Host::Cell("abc", 3), "abc");
}

TEST(TerminalText, IsWrappedBetweenWords) {
  EXPECT_EQ(Host::Wrapped("put the card in and try again", 12), (Lines{"put the card", "in and try", "again"}));
  EXPECT_EQ(Host::Wrapped("漢字 漢字 漢字", 9), (Lines{"漢字 漢字", "漢字"}));
  EXPECT_EQ(Host::Wrapped("a path-that-is-longer b", 8), (Lines{"a", "path-that-is-longer", "b"}));
  EXPECT_EQ(Host::Wrapped("see 'ctkhost list' for it", 9), (Lines{"see", "'ctkhost list'", "for it"}));
  EXPECT_EQ(Host::Wrapped("an 'open quote is none", 9), (Lines{"an 'open", "quote is", "none"}));
  EXPECT_EQ(Host::Wrapped("", 8), Lines{});
}

TEST(TerminalText, IsStyledOnAPageWithColoursOnly) {
  EXPECT_EQ((Host::Page{80, true}.Styled(Host::Style::Bold, "a")), "\x1b[1ma\x1b[0m");
  EXPECT_EQ((Host::Page{80, true}.Styled(Host::Style::Plain, "a")), "a");
  EXPECT_EQ((Host::Page{80, false}.Styled(Host::Style::Bold, "a")), "a");
}

}  // namespace
