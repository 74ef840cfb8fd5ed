#include "host/agent/Encoding.h"

#include <gtest/gtest.h>

namespace {

using Ssh::Bytes;
using Ssh::Parser;
using Ssh::Writer;

TEST(Encoding, WritesNumbersAndStringsBigEndianWithTheirLength) {
  EXPECT_EQ(Writer().Byte(7).Uint32(0x01020304).String("ab").Take(), (Bytes{7, 1, 2, 3, 4, 0, 0, 0, 2, 'a', 'b'}));
}

struct Number {
  Bytes magnitude, encoded;
};

class Mpint : public ::testing::TestWithParam<Number> {};

TEST_P(Mpint, IsShortestAndNeverNegative) {
  EXPECT_EQ(Writer().Mpint(GetParam().magnitude).Take(), GetParam().encoded);
}

INSTANTIATE_TEST_SUITE_P(Encoding, Mpint,
                         ::testing::Values(Number{{}, {0, 0, 0, 0}}, Number{{0, 0}, {0, 0, 0, 0}},
                                           Number{{0x7F}, {0, 0, 0, 1, 0x7F}}, Number{{0x80}, {0, 0, 0, 2, 0, 0x80}},
                                           Number{{0, 0, 0x12, 0}, {0, 0, 0, 2, 0x12, 0}}));

TEST(Encoding, ReadsWhatItWrote) {
  const Bytes bytes = Writer().Byte(9).Uint32(0xFFFFFFFE).String("text").String("").Take();
  Parser parser(bytes);
  EXPECT_EQ(parser.Byte(), 9);
  EXPECT_EQ(parser.Uint32(), 0xFFFFFFFE);
  EXPECT_EQ(parser.String(), (Bytes{'t', 'e', 'x', 't'}));
  EXPECT_EQ(parser.String(), Bytes());
  EXPECT_THROW(parser.Byte(), Ssh::Malformed);
}

TEST(Encoding, RefusesAStringThatIsLongerThanItsMessage) {
  for (const Bytes& bytes : {Bytes{0, 0, 0}, Bytes{0, 0, 0, 2, 'a'}, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 'a', 'b'}})
    EXPECT_THROW(Parser(bytes).String(), Ssh::Malformed);
}

}  // namespace
