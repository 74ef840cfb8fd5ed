#include "util/QELIconv.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <thread>

#include "tests/util/MessageOf.h"

namespace {

using QELIconv::Convert;

/// Puts the default narrow encoding back.
class DefaultEncoding : public ::testing::Test {
 protected:
  ~DefaultEncoding() override { QELIconv::SetDefaultEncoding("UTF-8"); }
};

std::string Nothing(const wchar_t*&, size_t) {
  return {};
}

TEST(QELIconv, ConvertsNarrowToWide) {
  EXPECT_EQ((Convert<wchar_t, char>("abc", "UTF-8")), L"abc");
}

TEST(QELIconv, AnEmptyInputGivesAnEmptyResult) {
  EXPECT_EQ((Convert<wchar_t, char>("")), L"");
  EXPECT_EQ((Convert<char, char32_t>(U"")), "");
  EXPECT_EQ((Convert<char, char>("", "UTF-8", "ISO-2022-JP")), "");
}

TEST(QELIconv, TheDefaultHandlerEscapesAnInvalidByte) {
  EXPECT_EQ((Convert<wchar_t, char>("a\xFF"
                                    "b",
                                    "UTF-8")),
            L"a'\\xff'b");
}

TEST(QELIconv, HandleErrIgnoreDropsAnInvalidByte) {
  EXPECT_EQ((Convert<wchar_t, char>("a\xFF"
                                    "b",
                                    QELIconv::HandleErrIgnore<char, wchar_t>, "UTF-8")),
            L"ab");
}

TEST(QELIconv, ACutOffLastCharacterIsEscaped) {
  EXPECT_EQ((Convert<wchar_t, char>("a\xC3", "UTF-8")), L"a'\\xc3'");
  EXPECT_EQ((Convert<wchar_t, char>("a\xE2\x82", "UTF-8")), L"a'\\xe2''\\x82'");
}

TEST(QELIconv, AnUnknownEncodingIsNamedInTheError) {
  EXPECT_EQ(MessageOf([] { Convert<wchar_t, char>("a", "no-such-encoding"); }),
            "iconv_open from encoding 'no-such-encoding' to 'UTF-32LE' failed");
  EXPECT_EQ(MessageOf([] { Convert<char16_t, wchar_t>(L"a", "", "none"); }),
            "iconv_open from encoding 'UTF-32LE' to 'none' failed");
}

TEST(QELIconv, TheAsciiFlagEscapesEveryOtherCharacter) {
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(L"caf\u00e9 \u20ac \U0001F512!", true),
            "caf'\\xe9' '\\x20ac' '\\x1f512'!");
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(L"caf\u00e9", false), "caf\xC3\xA9");
}

TEST_F(DefaultEncoding, IsUtf8AndItsReplacementServesEveryLaterCallWithAnEmptyName) {
  EXPECT_EQ(QELIconv::GetDefaultEncoding(), "UTF-8");
  EXPECT_EQ(QELIconv::MultiByte2WideChar("\xE9"), L"'\\xe9'");
  QELIconv::SetDefaultEncoding("ISO-8859-1");
  EXPECT_EQ(QELIconv::GetDefaultEncoding(), "ISO-8859-1");
  EXPECT_EQ(QELIconv::MultiByte2WideChar("\xE9"), L"\u00e9");
  EXPECT_EQ(QELIconv::WideChar2String(L"\u00e9"), "\xE9");
  EXPECT_EQ((Convert<char16_t, char>("\xE9")), u"\u00e9");
  EXPECT_EQ(MessageOf([] { Convert<char, wchar_t>(L"a", "none"); }),
            "iconv_open from encoding 'none' to 'ISO-8859-1' failed");
}

TEST_F(DefaultEncoding, IsTheProcesssWhicheverThreadSetsIt) {
  std::thread([] { QELIconv::SetDefaultEncoding("ISO-8859-1"); }).join();
  EXPECT_EQ(QELIconv::GetDefaultEncoding(), "ISO-8859-1");
  std::thread([] { EXPECT_EQ(QELIconv::MultiByte2WideChar("\xE9"), L"\u00e9"); }).join();
}

TEST_F(DefaultEncoding, IsWhateverNameIsSet) {
  for (const char* name : {"", "no-such-encoding", "iso-8859-1"}) {
    QELIconv::SetDefaultEncoding(name);
    EXPECT_EQ(QELIconv::GetDefaultEncoding(), name);
  }
}

TEST_F(DefaultEncoding, ReachesTheEscapesToo) {
  QELIconv::SetDefaultEncoding("no-such-encoding");
  EXPECT_EQ(MessageOf([] { Convert<wchar_t, char>("\xFF", "UTF-8"); }),
            "iconv_open from encoding 'no-such-encoding' to 'UTF-32LE' failed");
}

TEST_F(DefaultEncoding, IsWhatTheTextOfAnEscapeIsReadIn) {
  QELIconv::SetDefaultEncoding("UTF-16BE");
  EXPECT_EQ((Convert<wchar_t, char>("\xFF", "UTF-8")), L"\u275c\u7866\u6627") << "the six bytes of '\\xff'";
  EXPECT_EQ((Convert<char16_t, char>("\xFF", "UTF-8")), u"\u275c\u7866\u6627");
  EXPECT_EQ((Convert<char, wchar_t>(L"\u00e9", "", "ASCII")), "'\\xe9'") << "read and written in the same encoding";
}

TEST_F(DefaultEncoding, WhereItCannotReadAnEscapeThatIsLeftOutAndNotEscapedAgain) {
  QELIconv::SetDefaultEncoding("UTF-16BE");
  const char lineFeed = '\n';
  const char* position = &lineFeed;
  EXPECT_EQ((QELIconv::HandleErrEscapeNewCharSafe<char, wchar_t>(position, 1)), L"\u275c\u7861")
      << "of the five bytes of '\\xa' the last is half a character";
}

TEST_F(DefaultEncoding, IsNotWhatTheHelpersWriteIn) {
  QELIconv::SetDefaultEncoding("ISO-8859-1");
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(L"\u00e9", false), "\xC3\xA9") << "UTF-8";
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(L"\u00e9", true), "'\\xe9'") << "ASCII";
  EXPECT_EQ(QELIconv::Helpers::MultiByte2WideChar("\xE9", 0, nullptr), L"\u00e9");
  EXPECT_EQ(QELIconv::Helpers::MultiByte2WideChar("\xC3\xA9", 0, "UTF-8"), L"\u00e9");
}

TEST(QELIconv, ALongInputIsConvertedThroughSeveralPassesOfTheBuffer) {
  std::string narrow;
  std::wstring wide;
  for (int i = 0; narrow.size() < 2 * 1024 * 1024; ++i) {
    narrow += i % 3 == 0 ? "a" : i % 3 == 1 ? "\xC3\xA9" : "\xF0\x9F\x94\x92";
    wide += i % 3 == 0 ? L'a' : i % 3 == 1 ? L'\u00e9' : L'\U0001F512';
  }
  EXPECT_TRUE((Convert<wchar_t, char>(narrow, "UTF-8") == wide));
  EXPECT_TRUE((Convert<char, wchar_t>(wide, "", "UTF-8") == narrow));
}

/// The bytes of a text whose characters hold several each.
template <typename Char>
std::string BytesOf(const std::basic_string<Char>& text) {
  return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(Char)};
}

TEST(QELIconv, TheSlicesOfALongInputAreInvisibleWhereTheTargetTypeIsWiderThanTheEncodingsUnit) {
  std::string text;  // no slice of 1 MiB ends between two characters here
  while (text.size() < 3 * 1024 * 1024) text += "\xE2\x82\xAC";
  EXPECT_EQ(text.size() % 4, 0u);
  EXPECT_TRUE(BytesOf(Convert<char16_t, char>(text, "UTF-8", "UTF-8")) == text);
  EXPECT_TRUE(BytesOf(Convert<char32_t, char>(text, "UTF-8", "UTF-8")) == text);
  EXPECT_TRUE(BytesOf(Convert<wchar_t, char>(text, "UTF-8", "UTF-8")) == text);
}

TEST(QELIconv, BytesThatMakeNoWholeCharacterOfTheTargetTypeAreLeftOut) {
  EXPECT_EQ(BytesOf(Convert<char16_t, char>("abc", "UTF-8", "UTF-8")), "ab");
  EXPECT_EQ(BytesOf(Convert<char16_t, char>("abc\xFF"
                                            "de",
                                            QELIconv::HandleErrIgnore<char, char16_t>, "UTF-8", "UTF-8")),
            "abde");
}

/// What the platform's converter writes into a large buffer, from its initial state on.
std::string Bare(const char* from, const char* to, std::string text) {
  const iconv_t converter = iconv_open(to, from);
  char* input = text.data();
  size_t count = text.size();
  char buffer[100];
  char* output = buffer;
  size_t room = sizeof buffer;
  iconv(converter, nullptr, nullptr, &output, &room);
  EXPECT_EQ(iconv(converter, &input, &count, &output, &room), 0u);
  iconv_close(converter);
  return {buffer, output};
}

TEST(QELIconv, TheResultBeginsWithWhatTheConverterWritesToSetItsInitialState) {
  const std::string korean = Bare("UTF-8", "ISO-2022-KR", "a\xEA\xB0\x80");
  ASSERT_EQ(korean.rfind("\x1b$)C", 0), 0u) << "the announcement of the character set";
  EXPECT_EQ((Convert<char, char>("a\xEA\xB0\x80", "UTF-8", "ISO-2022-KR")), korean);
  EXPECT_EQ((Convert<char, char>("a\xEA\xB0\x80\xFF", QELIconv::HandleErrIgnore<char, char>, "UTF-8", "ISO-2022-KR")),
            korean);
  EXPECT_EQ((Convert<char, char>("\xFF", QELIconv::HandleErrIgnore<char, char>, "UTF-8", "ISO-2022-KR")),
            Bare("UTF-8", "ISO-2022-KR", ""));
}

TEST(QELIconv, TheShiftStateIsLeftAsItIsAtTheEnd) {
  EXPECT_EQ((Convert<char, wchar_t>(L"a\u3042", "", "ISO-2022-JP")), "a\x1b$B$\"") << "no way back to ASCII";
}

TEST(QELIconv, AHandlerSeesTheRemainingLengthInBytesWhateverTheSourceType) {
  std::vector<size_t> seen;
  const QELIconv::ErrHandler<char16_t, char> note = [&](const char16_t*& position, size_t remaining) {
    seen.push_back(remaining);
    ++position;
    return std::string("?");
  };
  EXPECT_EQ((Convert<char, char16_t>(std::u16string{u'a', 0xD800, u'b', 0xDC00, u'c'}, note)), "a?b?c");
  EXPECT_EQ(seen, (std::vector<size_t>{8, 4}));
}

TEST(QELIconv, AHandlerMayConsumeSeveralCharacters) {
  const QELIconv::ErrHandler<char, wchar_t> skipThree = [](const char*& position, size_t) {
    position += 3;
    return std::wstring(L"-");
  };
  EXPECT_EQ((Convert<wchar_t, char>("a\xFFxxb", skipThree, "UTF-8")), L"a-b");
  EXPECT_EQ((Convert<wchar_t, char>("a\xFF", skipThree, "UTF-8")), L"a-") << "past the end is the end";
}

TEST(QELIconv, AHandlerKeepsWhatItRemembersFromCallToCall) {
  const QELIconv::ErrHandler<char, wchar_t> counting = [count = 0](const char*& position, size_t) mutable {
    ++position;
    return std::to_wstring(++count);
  };
  EXPECT_EQ((Convert<wchar_t, char>("a\xFF\xFF-\xFF", counting, "UTF-8")), L"a12-3");
}

TEST(QELIconv, AnEmptyHandlerThrowsWhenItIsNeeded) {
  const QELIconv::ErrHandler<char, wchar_t> none;
  const QELIconv::ErrHandlerFunction<char, wchar_t> null = nullptr;
  EXPECT_EQ((Convert<wchar_t, char>("a", none)), L"a");
  EXPECT_THROW((Convert<wchar_t, char>("\xFF", none)), std::bad_function_call);
  EXPECT_THROW((Convert<wchar_t, char>("\xFF", null)), std::bad_function_call);
  EXPECT_THROW(QELIconv::MultiByte2WideChar("\xFF", null, "UTF-8"), std::bad_function_call);
  EXPECT_THROW(QELIconv::MultiByte2WideChar("\xFF", none, "UTF-8"), std::bad_function_call);
}

TEST(QELIconv, WideToNarrowTakesTheThreeKindsOfHandler) {
  const std::wstring text = L"a\u00e9";
  EXPECT_EQ(QELIconv::WideChar2String(text, "ASCII"), "a'\\xe9'");
  EXPECT_EQ(QELIconv::WideChar2String(text, QELIconv::HandleErrIgnore<wchar_t, char>, "ASCII"), "a");
  const QELIconv::ErrHandler<wchar_t, char> question = [](const wchar_t*& position, size_t) {
    ++position;
    return std::string("?");
  };
  EXPECT_EQ(QELIconv::WideChar2String(text, question, "ASCII"), "a?");
}

TEST(QELIconv, NarrowToWideTakesTheThreeKindsOfHandler) {
  EXPECT_EQ(QELIconv::MultiByte2WideChar("\xE9", "ISO-8859-1"), L"\u00e9");
  EXPECT_EQ(QELIconv::MultiByte2WideChar("a\xFF", QELIconv::HandleErrIgnore<char, wchar_t>, "UTF-8"), L"a");
  const QELIconv::ErrHandler<char, wchar_t> question = [](const char*& position, size_t) {
    ++position;
    return std::wstring(L"?");
  };
  EXPECT_EQ(QELIconv::MultiByte2WideChar("a\xFF", question, "UTF-8"), L"a?");
}

TEST(QELIconv, AHandlerDoesNotDecideAboutTheEncoding) {
  const QELIconv::ErrHandler<char, wchar_t> wide = QELIconv::HandleErrIgnore<char, wchar_t>;
  const QELIconv::ErrHandler<wchar_t, char> narrow = QELIconv::HandleErrIgnore<wchar_t, char>;
  const std::string text = "\xE4\xFF";  // both are characters there
  EXPECT_EQ(QELIconv::MultiByte2WideChar(text, wide, "ISO-8859-5"), L"\u0444\u045f");
  EXPECT_EQ(QELIconv::MultiByte2WideChar(text, QELIconv::HandleErrIgnore<char, wchar_t>, "ISO-8859-5"),
            L"\u0444\u045f");
  EXPECT_EQ(QELIconv::WideChar2String(L"\u0444\u00e4", narrow, "ISO-8859-5"), "\xE4");
  EXPECT_EQ(QELIconv::WideChar2String(L"\u0444\u00e4", QELIconv::HandleErrIgnore<wchar_t, char>, "ISO-8859-5"), "\xE4");
  EXPECT_EQ((Convert<char, char>(text, "ISO-8859-5", "KOI8-R")), "\xC6'\\xff'");
  const QELIconv::ErrHandler<char, char> ignore = QELIconv::HandleErrIgnore<char, char>;
  EXPECT_EQ((Convert<char, char>(text, ignore, "ISO-8859-5", "KOI8-R")), "\xC6");
  EXPECT_EQ((Convert<char, char>(text, QELIconv::HandleErrIgnore<char, char>, "ISO-8859-5", "KOI8-R")), "\xC6");
}

TEST(QELIconvHelpers, PointersMayBeNullAndALengthOfZeroMeansUpToTheNul) {
  using QELIconv::Helpers::MultiByte2WideChar;
  EXPECT_EQ(MultiByte2WideChar(nullptr, 0, nullptr), L"");
  EXPECT_EQ(MultiByte2WideChar(nullptr, 5, "UTF-8"), L"");
  EXPECT_EQ(MultiByte2WideChar("abc", 0, "UTF-8"), L"abc");
  EXPECT_EQ(MultiByte2WideChar("abc", 2, nullptr), L"ab");
  EXPECT_EQ(MultiByte2WideChar("abc", 1, "UTF-8"), L"a");
  EXPECT_EQ(MultiByte2WideChar("a\0b", 3, "UTF-8"), (std::wstring{L'a', L'\0', L'b'}));
  EXPECT_EQ(MultiByte2WideChar(std::string("\xE9"), "ISO-8859-1"), L"\u00e9");
  EXPECT_EQ(MultiByte2WideChar(std::string("\xC3\xA9"), nullptr), L"\u00e9");
  EXPECT_EQ(QELIconv::Helpers::WideChar2String(nullptr, true), "");
  EXPECT_EQ(MessageOf([] { MultiByte2WideChar(nullptr, 0, "none"); }),
            "iconv_open from encoding 'none' to 'UTF-32LE' failed");
}

TEST(QELIconvHandlers, TheEscapeHasLowerCaseHexadecimalWithoutLeadingZeros) {
  const auto escape = [](char byte) {
    const char* position = &byte;
    return QELIconv::HandleErrEscapeNewCharSafe<char, char>(position, 1);
  };
  EXPECT_EQ(escape('\xC3'), "'\\xc3'");
  EXPECT_EQ(escape('\x0A'), "'\\xa'");
  EXPECT_EQ(escape('\0'), "'\\x0'");
  const char32_t largest[] = {0xFFFFFFFF};
  const char32_t* position = largest;
  EXPECT_EQ((QELIconv::HandleErrEscapeNewCharSafe<char32_t, char16_t>(position, 4)), u"'\\xffffffff'");
}

TEST(QELIconvHandlers, ConsumeOneCharacterAndNothingOfAnEmptyRest) {
  const wchar_t text[] = L"ab";
  const wchar_t* position = text;
  EXPECT_EQ((QELIconv::HandleErrEscapeNewCharSafe<wchar_t, char>(position, 0)), "");
  EXPECT_EQ((QELIconv::HandleErrIgnore<wchar_t, char>(position, 0)), "");
  EXPECT_EQ(position, text);
  EXPECT_EQ((QELIconv::HandleErrEscapeNewCharSafe<wchar_t, char>(position, 8)), "'\\x61'");
  EXPECT_EQ(position, text + 1);
  EXPECT_EQ((QELIconv::HandleErrIgnore<wchar_t, char>(position, 4)), "");
  EXPECT_EQ(position, text + 2);
}

TEST(QELIconvHandlers, TheDefaultOfAPairIsReplacedByAFunctionOrACallableAndNoOtherPairs) {
  using QELIconv::GetDefaultErrHandler;
  using QELIconv::SetDefaultErrHandler;
  const auto previous = GetDefaultErrHandler<wchar_t, char>();

  SetDefaultErrHandler<wchar_t, char>(QELIconv::HandleErrIgnore<wchar_t, char>);
  EXPECT_EQ(QELIconv::WideChar2String(L"a\u00e9", "ASCII"), "a");
  EXPECT_EQ((Convert<char, char32_t>(U"a\u00e9", "", "ASCII")), "a'\\xe9'");

  const QELIconv::ErrHandler<wchar_t, char> star = [](const wchar_t*& position, size_t) {
    ++position;
    return std::string("*");
  };
  SetDefaultErrHandler<wchar_t, char>(star);
  EXPECT_EQ(QELIconv::WideChar2String(L"a\u00e9", "ASCII"), "a*");

  SetDefaultErrHandler<wchar_t, char>(previous);
  EXPECT_EQ(QELIconv::WideChar2String(L"a\u00e9", "ASCII"), "a'\\xe9'");
}

TEST(QELIconvHandlers, ConsumeOneCharacterAlsoWhereLessThanThatRemains) {
  const wchar_t text[] = L"ab";
  const wchar_t* position = text;
  EXPECT_EQ((QELIconv::HandleErrEscapeNewCharSafe<wchar_t, char>(position, 1)), "'\\x61'");
  EXPECT_EQ(position, text + 1);
  EXPECT_EQ((QELIconv::HandleErrIgnore<wchar_t, char>(position, 3)), "");
  EXPECT_EQ(position, text + 2);
}

TEST(QELIconvHandlers, TheDefaultOfAPairMayBeReplacedByNone) {
  const auto previous = QELIconv::GetDefaultErrHandler<wchar_t, char>();
  const QELIconv::ErrHandlerFunction<wchar_t, char> null = nullptr;
  QELIconv::SetDefaultErrHandler<wchar_t, char>(null);
  EXPECT_THROW(QELIconv::WideChar2String(L"\u00e9", "ASCII"), std::bad_function_call);
  QELIconv::SetDefaultErrHandler<wchar_t, char>(previous);
  QELIconv::SetDefaultErrHandler<wchar_t, char>(QELIconv::ErrHandler<wchar_t, char>());
  EXPECT_THROW(QELIconv::WideChar2String(L"\u00e9", "ASCII"), std::bad_function_call);
  QELIconv::SetDefaultErrHandler<wchar_t, char>(previous);
}

TEST(QELIconvHandlers, TheDefaultOfAPairIsTheProcesssWhicheverThreadSetsIt) {
  const auto previous = QELIconv::GetDefaultErrHandler<wchar_t, char>();
  std::thread([] { QELIconv::SetDefaultErrHandler<wchar_t, char>(QELIconv::HandleErrIgnore<wchar_t, char>); }).join();
  EXPECT_EQ(QELIconv::WideChar2String(L"a\u00e9", "ASCII"), "a");
  QELIconv::SetDefaultErrHandler<wchar_t, char>(previous);
}

TEST(QELIconvHandlers, EnsuringTheInstantiationsChangesNothing) {
  QELIconv::SetDefaultErrHandler<wchar_t, char>(Nothing);
  QELIconv::detail::EnsureTemplateInstantiation();
  const auto* kept =
      QELIconv::GetDefaultErrHandler<wchar_t, char>().target<QELIconv::ErrHandlerFunction<wchar_t, char>>();
  ASSERT_NE(kept, nullptr);
  EXPECT_EQ(*kept, Nothing);
  QELIconv::SetDefaultErrHandler<wchar_t, char>(QELIconv::HandleErrEscapeNewCharSafe<wchar_t, char>);
  EXPECT_EQ(QELIconv::GetDefaultEncoding(), "UTF-8");
}

}  // namespace
