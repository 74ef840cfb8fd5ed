#import "tests/token/TokenTest.h"
#import "token/KeyIdentifier.h"
#import "token/NSData+QELAditions.h"
#import "token/TKTokenKeychainItem+QELDataFormat.h"

using TestCard::ByteString;

class KeyIdentifier : public TokenTest {};
class NSDataQELAditions : public TokenTest {};
class ItemLabel : public TokenTest {
 protected:
  TKTokenKeychainItem *const m_item = [[[TKTokenKeychainKey alloc] initWithCertificate:nullptr
                                                                              objectID:@"id"] autorelease];
};

TEST_F(KeyIdentifier, PrefixTellsKindAndSlot) {
  EXPECT_EQ(ObjectPrefix(kCertificateKind, true), 0x11);
  EXPECT_EQ(ObjectPrefix(kKeyKind, true), 0x12);
  EXPECT_EQ(ObjectPrefix(kCertificateKind, false), 0x21);
  EXPECT_EQ(ObjectPrefix(kKeyKind, false), 0x22);
}

TEST_F(KeyIdentifier, ObjectIdIsThePrefixAndTheUnchangedBytes) {
  NSMutableData *identifier = MakeObjectID(0x12, {0x00, 0xFF, 0x12});
  EXPECT_EQ(BytesOf(identifier), (ByteString{0x12, 0x00, 0xFF, 0x12}));
  [identifier appendBytes:"x" length:1];  // a new, mutable object
  EXPECT_EQ(BytesOf(MakeObjectID(0x21, {})), ByteString{0x21});
}

TEST_F(KeyIdentifier, ObjectIdIsReadBack) {
  NSData *identifier = Data({0x22, 0x01, 0x00});
  EXPECT_EQ(PrefixOfObjectID(identifier), 0x22);
  EXPECT_EQ(CardIDOfObjectID(identifier), (ByteString{0x01, 0x00}));
  EXPECT_EQ(CardIDOfObjectID(Data({0x22})), ByteString{});
}

TEST_F(KeyIdentifier, AnEmptyIdentifierHasNoPrefixAndNoId) {
  EXPECT_EQ(PrefixOfObjectID([NSData data]), 0);
  EXPECT_EQ(CardIDOfObjectID([NSData data]), ByteString{});
}

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

TEST_F(ItemLabel, NameAloneWhenThereIsNoLabel) {
  [m_item setName:@"Key"];
  EXPECT_STREQ([[m_item label] UTF8String], "Key");
}

TEST_F(ItemLabel, NameStandsBeforeTheLabel) {
  [m_item setLabel:@"Jane Doe"];
  [m_item setName:@"100%@ key"];
  EXPECT_STREQ([[m_item label] UTF8String], "100%@ key (Jane Doe)");
}

TEST_F(ItemLabel, AnEmptyLabelStillCounts) {
  [m_item setLabel:@""];
  [m_item setName:@"Key"];
  EXPECT_STREQ([[m_item label] UTF8String], "Key ()");
}

TEST_F(ItemLabel, ASecondNameNestsTheParentheses) {
  [m_item setLabel:@"Jane Doe"];
  [m_item setName:@"inner"];
  [m_item setName:@"outer"];
  EXPECT_STREQ([[m_item label] UTF8String], "outer (inner (Jane Doe))");
}
