#include <Security/SecAsn1Coder.h>
#include <gtest/gtest.h>

#include <iterator>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct Pair {
  SecAsn1Item first;
  SecAsn1Item second;
};

constexpr SecAsn1Template kPair[] = {
    {SEC_ASN1_SEQUENCE, 0, nullptr, sizeof(Pair)},
    {SEC_ASN1_INTEGER, offsetof(Pair, first), nullptr, 0},
    {SEC_ASN1_INTEGER, offsetof(Pair, second), nullptr, 0},
    {0, 0, nullptr, 0},
};

class SecAsn1CoderTest : public ::testing::Test {
 protected:
  SecAsn1CoderTest() { EXPECT_EQ(SecAsn1CoderCreate(&m_coder), errSecSuccess); }
  ~SecAsn1CoderTest() override { EXPECT_EQ(SecAsn1CoderRelease(m_coder), errSecSuccess); }

  Bytes Encode(Bytes first, Bytes second) {
    const Pair pair = {{first.size(), first.data()}, {second.size(), second.data()}};
    SecAsn1Item encoded = {};
    EXPECT_EQ(SecAsn1EncodeItem(m_coder, &pair, kPair, &encoded), errSecSuccess);
    return {encoded.Data, encoded.Data + encoded.Length};
  }

  OSStatus StatusOf(std::vector<SecAsn1Template> entries) {
    const Pair pair = {};
    SecAsn1Item encoded = {};
    return SecAsn1EncodeItem(m_coder, &pair, entries.data(), &encoded);
  }

  SecAsn1CoderRef m_coder = nullptr;
};

TEST_F(SecAsn1CoderTest, TwoSmallIntegers) {
  EXPECT_EQ(Encode({0x01}, {0x7F}), (Bytes{0x30, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x7F}));
}

TEST_F(SecAsn1CoderTest, TheMembersOffsetsCountFromTheSequences) {
  uint8_t bytes[] = {0x01, 0x7F};
  const Pair pairs[] = {{}, {{1, &bytes[0]}, {1, &bytes[1]}}};
  std::vector<SecAsn1Template> entries(std::begin(kPair), std::end(kPair));
  entries.front().offset = sizeof(Pair);
  SecAsn1Item encoded = {};
  ASSERT_EQ(SecAsn1EncodeItem(m_coder, pairs, entries.data(), &encoded), errSecSuccess);
  EXPECT_EQ(Bytes(encoded.Data, encoded.Data + encoded.Length),
            (Bytes{0x30, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x7F}));
}

TEST_F(SecAsn1CoderTest, AFirstBitThatIsSetGetsAZeroByteInFront) {
  EXPECT_EQ(Encode({0x80}, {0xFF, 0x01}), (Bytes{0x30, 0x09, 0x02, 0x02, 0x00, 0x80, 0x02, 0x03, 0x00, 0xFF, 0x01}));
}

TEST_F(SecAsn1CoderTest, LeadingZeroBytesGo) {
  EXPECT_EQ(Encode({0x00, 0x00, 0x05}, {0x00, 0x80}), (Bytes{0x30, 0x07, 0x02, 0x01, 0x05, 0x02, 0x02, 0x00, 0x80}));
}

TEST_F(SecAsn1CoderTest, OnlyZeroBytesGiveOneZeroByte) {
  EXPECT_EQ(Encode({0x00}, {0x00, 0x00, 0x00}), (Bytes{0x30, 0x06, 0x02, 0x01, 0x00, 0x02, 0x01, 0x00}));
}

TEST_F(SecAsn1CoderTest, NoBytesGiveAnIntegerWithoutBytes) {
  EXPECT_EQ(Encode({}, {}), (Bytes{0x30, 0x04, 0x02, 0x00, 0x02, 0x00}));
}

TEST_F(SecAsn1CoderTest, LengthsFrom128TakeTheLongForm) {
  const Bytes encoded = Encode(Bytes(66, 0x11), Bytes(66, 0x11));
  ASSERT_EQ(encoded.size(), 3u + 2 * 68);
  EXPECT_EQ(Bytes(encoded.begin(), encoded.begin() + 5), (Bytes{0x30, 0x81, 0x88, 0x02, 0x42}));
}

TEST_F(SecAsn1CoderTest, LengthsFrom256TakeTwoBytes) {
  const Bytes encoded = Encode(Bytes(0x100, 0x11), {0x01});
  EXPECT_EQ(Bytes(encoded.begin(), encoded.begin() + 8), (Bytes{0x30, 0x82, 0x01, 0x07, 0x02, 0x82, 0x01, 0x00}));
}

TEST_F(SecAsn1CoderTest, EarlierResultsStayUntilTheCoderIsReleased) {
  uint8_t byte = 0x01;
  const Pair pair = {{1, &byte}, {1, &byte}};
  SecAsn1Item first = {};
  ASSERT_EQ(SecAsn1EncodeItem(m_coder, &pair, kPair, &first), errSecSuccess);
  for (int i = 0; i < 100; ++i) {
    Encode(Bytes(100, 0x22), Bytes(100, 0x33));
  }
  EXPECT_EQ(Bytes(first.Data, first.Data + first.Length), (Bytes{0x30, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x01}));
}

TEST_F(SecAsn1CoderTest, OtherKindsAreRefused) {
  constexpr SecAsn1Template end = {0, 0, nullptr, 0};
  constexpr SecAsn1Template sequence = {SEC_ASN1_SEQUENCE, 0, nullptr, sizeof(Pair)};
  EXPECT_EQ(StatusOf({{SEC_ASN1_INTEGER, 0, nullptr, sizeof(Pair)}, end}), errSecParam);
  EXPECT_EQ(StatusOf({{0x04, 0, nullptr, sizeof(Pair)}, end}), errSecParam);
  EXPECT_EQ(StatusOf({sequence, {0x04, 0, nullptr, 0}, end}), errSecParam);
  EXPECT_EQ(StatusOf({sequence, {SEC_ASN1_INTEGER | SEC_ASN1_SIGNED_INT, 0, nullptr, 0}, end}), errSecParam);
  EXPECT_EQ(StatusOf({sequence, {SEC_ASN1_INTEGER, 0, &sequence, 0}, end}), errSecParam);
  EXPECT_EQ(StatusOf({{SEC_ASN1_SEQUENCE, 0, &sequence, sizeof(Pair)}, end}), errSecParam);
}

TEST_F(SecAsn1CoderTest, NullIsRefusedEverywhere) {
  const Pair pair = {};
  SecAsn1Item encoded = {};
  // Through a variable, because the declarations forbid a literal NULL.
  SecAsn1CoderRef none = nullptr;
  const Pair* noPair = nullptr;
  const SecAsn1Template* noTemplate = nullptr;
  SecAsn1Item* noItem = nullptr;
  SecAsn1CoderRef* nowhere = nullptr;
  EXPECT_EQ(SecAsn1EncodeItem(none, &pair, kPair, &encoded), errSecParam);
  EXPECT_EQ(SecAsn1EncodeItem(m_coder, noPair, kPair, &encoded), errSecParam);
  EXPECT_EQ(SecAsn1EncodeItem(m_coder, &pair, noTemplate, &encoded), errSecParam);
  EXPECT_EQ(SecAsn1EncodeItem(m_coder, &pair, kPair, noItem), errSecParam);
  EXPECT_EQ(SecAsn1CoderCreate(nowhere), errSecParam);
  EXPECT_EQ(SecAsn1CoderRelease(none), errSecParam);
}

TEST_F(SecAsn1CoderTest, ALengthWithoutBytesIsRefused) {
  const Pair pair = {{3, nullptr}, {0, nullptr}};
  SecAsn1Item encoded = {};
  EXPECT_EQ(SecAsn1EncodeItem(m_coder, &pair, kPair, &encoded), errSecParam);
}

static_assert(sizeof(SecAsn1Template) == 24, "the layout that callers on the other system are compiled against");

}  // namespace
