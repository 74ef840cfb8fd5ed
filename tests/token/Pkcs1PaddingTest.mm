#import "token/SignatureForms.h"

#include <gtest/gtest.h>

#include <vector>

struct PaddingCase {
  const char *name;
  std::vector<uint8_t> block;
  int64_t offset;
};

class Pkcs1Padding : public ::testing::TestWithParam<PaddingCase> {};

TEST_P(Pkcs1Padding, GivesTheOffsetOrTheReason) {
  EXPECT_EQ(Pkcs1PayloadOffset(GetParam().block.data(), GetParam().block.size()), GetParam().offset);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, Pkcs1Padding,
    ::testing::Values(PaddingCase{"SeveralFillBytes", {0x00, 0x01, 0xFF, 0xFF, 0x00, 0x30, 0x31}, 5},
                      PaddingCase{"OneFillByte", {0x00, 0x01, 0xFF, 0x00, 0x30}, 4},
                      PaddingCase{"NoFillByte", {0x00, 0x01, 0x00, 0x30}, 3},
                      PaddingCase{"NoPayload", {0x00, 0x01, 0xFF, 0x00}, 4},
                      PaddingCase{"NeitherFillNorPayload", {0x00, 0x01, 0x00}, 3},
                      PaddingCase{"PayloadWithZeros", {0x00, 0x01, 0xFF, 0x00, 0x00, 0x00}, 4},
                      PaddingCase{"FirstByteWrong", {0x01, 0x01, 0xFF, 0x00, 0x30}, -1},
                      PaddingCase{"FirstBeforeSecond", {0x02, 0x02, 0xFF, 0x00, 0x30}, -1},
                      PaddingCase{"EncryptionBlock", {0x00, 0x02, 0xFF, 0x00, 0x30}, -2},
                      PaddingCase{"TypeZero", {0x00, 0x00, 0xFF, 0x00, 0x30}, -2},
                      PaddingCase{"ForeignByteFirst", {0x00, 0x01, 0x30, 0x00}, -3},
                      PaddingCase{"ForeignByteLast", {0x00, 0x01, 0xFF, 0xFF, 0xFE}, -3},
                      PaddingCase{"NoSeparator", {0x00, 0x01, 0xFF, 0xFF}, -4},
                      PaddingCase{"OnlyTheHead", {0x00, 0x01}, -4}, PaddingCase{"Empty", {}, -1},
                      PaddingCase{"OneByte", {0x00}, -2}, PaddingCase{"OneWrongByte", {0x07}, -1}),
    [](const auto &info) { return info.param.name; });
