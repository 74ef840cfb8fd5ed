#import "token/ObjectIdentifier.h"

#import "tests/token/TokenTest.h"

using TestCard::ByteString;

class ObjectIdentifier : public TokenTest {};

TEST_F(ObjectIdentifier, PrefixTellsKindAndSlot) {
  EXPECT_EQ(ObjectPrefix(ObjectKind::Certificate, true), 0x11);
  EXPECT_EQ(ObjectPrefix(ObjectKind::Key, true), 0x12);
  EXPECT_EQ(ObjectPrefix(ObjectKind::Certificate, false), 0x21);
  EXPECT_EQ(ObjectPrefix(ObjectKind::Key, false), 0x22);
}

TEST_F(ObjectIdentifier, ObjectIdIsThePrefixAndTheUnchangedBytes) {
  NSMutableData *identifier = MakeObjectID(0x12, {0x00, 0xFF, 0x12});
  EXPECT_EQ(BytesOf(identifier), (ByteString{0x12, 0x00, 0xFF, 0x12}));
  [identifier appendBytes:"x" length:1];  // a new, mutable object
  EXPECT_EQ(BytesOf(MakeObjectID(0x21, {})), ByteString{0x21});
}

TEST_F(ObjectIdentifier, ObjectIdIsReadBack) {
  NSData *identifier = Data({0x22, 0x01, 0x00});
  EXPECT_EQ(PrefixOfObjectID(identifier), 0x22);
  const CardID cardID = CardIDOfObjectID(identifier);
  EXPECT_EQ(ByteString(cardID.bytes, cardID.bytes + cardID.length), (ByteString{0x01, 0x00}));
  EXPECT_EQ(CardIDOfObjectID(Data({0x22})).length, 0u);
  EXPECT_NE(CardIDOfObjectID(Data({0x22})).bytes, nullptr);
}

TEST_F(ObjectIdentifier, AnEmptyIdentifierHasNoPrefixAndNoId) {
  EXPECT_EQ(PrefixOfObjectID([NSData data]), 0);
  EXPECT_EQ(CardIDOfObjectID([NSData data]).length, 0u);
}
