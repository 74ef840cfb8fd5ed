#import "token/TKTokenKeychainItem+QELDataFormat.h"

#import "tests/token/TokenTest.h"

class ItemLabel : public TokenTest {
 protected:
  TKTokenKeychainItem *const m_item = [[[TKTokenKeychainKey alloc] initWithCertificate:nullptr
                                                                              objectID:@"id"] autorelease];
};

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
