#import "token/NSData+QELAditions.h"

#import "tests/token/TokenTest.h"

using TestCard::ByteString;

class NSDataQELAditions : public TokenTest {};

TEST_F(NSDataQELAditions, DataIsACopyOfExactlyTheBytes) {
  ByteString bytes = {0x00, 0x01, 0x00};
  NSData *data = [NSData dataWithByteArray:bytes];
  bytes.assign(3, 0xEE);
  EXPECT_EQ(BytesOf(data), (ByteString{0x00, 0x01, 0x00}));
  EXPECT_FALSE([data isKindOfClass:[NSMutableData class]]);
}

TEST_F(NSDataQELAditions, AnEmptyVectorGivesEmptyData) {
  NSData *data = [NSData dataWithByteArray:{}];
  ASSERT_NE(data, nil);
  EXPECT_EQ([data length], 0u);
}
