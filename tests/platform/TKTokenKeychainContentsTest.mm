#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#import "tests/platform/MadeDriver.h"
#include "tests/platform/Raised.h"

namespace {

class TKTokenKeychainContentsTest : public ::testing::Test {
 protected:
  LiveObjects m_keys{[TKTokenKeychainKey class]}, m_contentsObjects{[TKTokenKeychainContents class]};
  TKToken *m_token = [[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
  TKTokenKeychainContents *m_contents = [m_token keychainContents];

  TKTokenKeychainKey *Key(id objectID) {
    return [[[TKTokenKeychainKey alloc] initWithCertificate:NULL objectID:objectID] autorelease];
  }
};

TEST_F(TKTokenKeychainContentsTest, FillingReplacesEverything) {
  [m_contents fillWithItems:@[ Key(@"a"), Key(@"b") ]];
  [m_contents fillWithItems:@[ Key(@"c") ]];
  EXPECT_EQ([[m_contents items] count], 1u);
  EXPECT_TRUE([m_contents keyForObjectID:@"a" error:NULL] == nil);
}

TEST_F(TKTokenKeychainContentsTest, FindsAKeyByAnEqualIdentifier) {
  TKTokenKeychainKey *key = Key([NSData dataWithBytes:"\x12\x01" length:2]);
  [m_contents fillWithItems:@[ Key(@"a"), key ]];
  NSError *error = nil;
  EXPECT_TRUE([m_contents keyForObjectID:[NSMutableData dataWithBytes:"\x12\x01" length:2] error:&error] == key);
  EXPECT_TRUE(error == nil);
}

TEST_F(TKTokenKeychainContentsTest, WithoutAMatchTheErrorIsObjectNotFound) {
  [m_contents fillWithItems:@[ Key(@"a") ]];
  NSError *error = nil;
  EXPECT_TRUE([m_contents keyForObjectID:@"b" error:&error] == nil);
  EXPECT_TRUE([[error domain] isEqual:TKErrorDomain]);
  EXPECT_EQ([error code], TKErrorCodeObjectNotFound);
  EXPECT_TRUE([m_contents keyForObjectID:@"b" error:NULL] == nil);
}

TEST_F(TKTokenKeychainContentsTest, AKeyIsNoCertificate) {
  [m_contents fillWithItems:@[ Key(@"a") ]];
  NSError *error = nil;
  EXPECT_TRUE([m_contents certificateForObjectID:@"a" error:&error] == nil);
  EXPECT_EQ([error code], TKErrorCodeObjectNotFound);
}

TEST_F(TKTokenKeychainContentsTest, OfTwoEqualIdentifiersTheFirstCounts) {
  TKTokenKeychainKey *first = Key(@"a");
  [m_contents fillWithItems:@[ first, Key(@"a") ]];
  EXPECT_TRUE([m_contents keyForObjectID:@"a" error:NULL] == first);
}

TEST_F(TKTokenKeychainContentsTest, KeepsACopyOfTheList) {
  NSMutableArray *items = [NSMutableArray arrayWithObject:Key(@"a")];
  [m_contents fillWithItems:items];
  [items removeAllObjects];
  EXPECT_EQ([[m_contents items] count], 1u);
}

}  // namespace
