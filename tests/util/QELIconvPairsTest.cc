#include <gtest/gtest.h>

#include <tuple>
#include <type_traits>

#include "util/QELIconv.h"

namespace {

using QELIconv::Convert;

/// The same text, and the same text with one character that the pair cannot convert, in each of the four types.
template <typename Char>
struct Sample;

template <>
struct Sample<char> {
  static constexpr char kText[] = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x94\x92";
  static constexpr char kBroken[] = "a\xFFz";
  static constexpr char kEscape[] = "'\\xff'";
};
template <>
struct Sample<wchar_t> {
  static constexpr wchar_t kText[] = L"a\u00e9\u20ac\U0001F512";
  static constexpr wchar_t kBroken[] = {L'a', static_cast<wchar_t>(0x110000), L'z', 0};
  static constexpr char kEscape[] = "'\\x110000'";
};
template <>
struct Sample<char16_t> {
  static constexpr char16_t kText[] = u"a\u00e9\u20ac\U0001F512";
  static constexpr char16_t kBroken[] = {u'a', 0xDC00, u'z', 0};
  static constexpr char kEscape[] = "'\\xdc00'";
};
template <>
struct Sample<char32_t> {
  static constexpr char32_t kText[] = U"a\u00e9\u20ac\U0001F512";
  static constexpr char32_t kBroken[] = {U'a', 0xD800, U'z', 0};
  static constexpr char kEscape[] = "'\\xd800'";
};

template <typename Char>
std::basic_string<Char> Widen(const std::string& ascii) {
  return {ascii.begin(), ascii.end()};
}

template <typename Pair>
class QELIconvPairs : public ::testing::Test {
 public:
  using From = std::tuple_element_t<0, Pair>;
  using To = std::tuple_element_t<1, Pair>;
  using ToString = std::basic_string<To>;

  static ToString Star(const From*& position, size_t) {
    ++position;
    return Widen<To>("*");
  }

  const std::basic_string<From> m_broken = Sample<From>::kBroken;
};

using Pairs =
    ::testing::Types<std::tuple<char, char>, std::tuple<char, wchar_t>, std::tuple<char, char16_t>,
                     std::tuple<char, char32_t>, std::tuple<wchar_t, char>, std::tuple<wchar_t, wchar_t>,
                     std::tuple<wchar_t, char16_t>, std::tuple<wchar_t, char32_t>, std::tuple<char16_t, char>,
                     std::tuple<char16_t, wchar_t>, std::tuple<char16_t, char16_t>, std::tuple<char16_t, char32_t>,
                     std::tuple<char32_t, char>, std::tuple<char32_t, wchar_t>, std::tuple<char32_t, char16_t>,
                     std::tuple<char32_t, char32_t>>;
TYPED_TEST_SUITE(QELIconvPairs, Pairs);

TYPED_TEST(QELIconvPairs, ConvertsTextOfOneToFourBytesACharacter) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  EXPECT_TRUE((Convert<To, From>(Sample<From>::kText) == Sample<To>::kText));
}

TYPED_TEST(QELIconvPairs, EscapesWhatItCannotConvert) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  const auto expected = Widen<To>("a" + std::string(Sample<From>::kEscape) + "z");
  EXPECT_TRUE((Convert<To, From>(this->m_broken) == expected));
  EXPECT_TRUE((Convert<To, From>(this->m_broken, QELIconv::HandleErrEscapeNewCharSafe<From, To>) == expected));
}

TYPED_TEST(QELIconvPairs, TakesACallableAndAFunction) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  const QELIconv::ErrHandler<From, To> callable = TestFixture::Star;
  EXPECT_TRUE((Convert<To, From>(this->m_broken, callable) == Widen<To>("a*z")));
  EXPECT_TRUE((Convert<To, From>(this->m_broken, TestFixture::Star) == Widen<To>("a*z")));
  EXPECT_TRUE((Convert<To, From>(this->m_broken, QELIconv::HandleErrIgnore<From, To>) == Widen<To>("az")));
}

TYPED_TEST(QELIconvPairs, HasADefaultHandlerOfItsOwn) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  const QELIconv::ErrHandler<From, To> previous = QELIconv::GetDefaultErrHandler<From, To>();
  QELIconv::SetDefaultErrHandler<From, To>(TestFixture::Star);
  EXPECT_TRUE((Convert<To, From>(this->m_broken) == Widen<To>("a*z")));
  QELIconv::SetDefaultErrHandler<From, To>(QELIconv::ErrHandler<From, To>(QELIconv::HandleErrIgnore<From, To>));
  EXPECT_TRUE((Convert<To, From>(this->m_broken) == Widen<To>("az")));
  QELIconv::SetDefaultErrHandler<From, To>(previous);
  EXPECT_TRUE((Convert<To, From>(this->m_broken) == Widen<To>("a" + std::string(Sample<From>::kEscape) + "z")));
}

TYPED_TEST(QELIconvPairs, EveryScalarValueMakesTheRoundTrip) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  std::u32string all;
  for (char32_t scalar = 1; scalar <= 0x10FFFF; ++scalar) {
    if (scalar < 0xD800 || scalar > 0xDFFF) all += scalar;
  }
  const auto from = Convert<From, char32_t>(all);
  const auto to = Convert<To, From>(from);
  EXPECT_TRUE((Convert<From, To>(to) == from));
  EXPECT_TRUE((Convert<char32_t, To>(to) == all));
}

TYPED_TEST(QELIconvPairs, EncodingsOfOtherWidthsThanTheTypesNeverLeaveTheInput) {
  using From = typename TestFixture::From;
  using To = typename TestFixture::To;
  // Half a character may remain when bytes are read as another encoding than the type's.
  const auto odd = Convert<To, From>(std::basic_string<From>(3, From(0x61FF)), "UTF-8", "UTF-8");
  const auto wide = Convert<To, From>(std::basic_string<From>(3, From(0xD8)), "UTF-16LE", "UTF-32LE");
  EXPECT_LE(odd.size(), 200u);
  EXPECT_LE(wide.size(), 200u);
}

}  // namespace
