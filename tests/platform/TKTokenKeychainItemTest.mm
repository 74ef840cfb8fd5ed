#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKTokenKeychainItem, CopiesItsIdentifier) {
  NSMutableData *identifier = [NSMutableData dataWithBytes:"\x12\x01" length:2];
  TKTokenKeychainItem *item = [[[TKTokenKeychainItem alloc] initWithObjectID:identifier] autorelease];
  [identifier setLength:0];
  EXPECT_TRUE([[item objectID] isEqual:[NSData dataWithBytes:"\x12\x01" length:2]]);
  EXPECT_TRUE([item label] == nil);
  EXPECT_TRUE([item constraints] == nil);
}

TEST(TKTokenKeychainItem, CopiesLabelAndConstraints) {
  const LiveObjects items([TKTokenKeychainItem class]);
  TKTokenKeychainItem *item = [[[TKTokenKeychainItem alloc] initWithObjectID:@"id"] autorelease];
  NSMutableString *label = [NSMutableString stringWithString:@"label"];
  NSMutableDictionary *constraints = [NSMutableDictionary dictionaryWithObject:@"PIN"
                                                                        forKey:@(TKTokenOperationSignData)];
  [item setLabel:label];
  [item setConstraints:constraints];
  [label setString:@"changed"];
  [constraints removeAllObjects];
  EXPECT_TRUE([[item label] isEqual:@"label"]);
  EXPECT_TRUE([[[item constraints] objectForKey:@(TKTokenOperationSignData)] isEqual:@"PIN"]);
}

TEST(TKTokenKeychainItem, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects items([TKTokenKeychainItem class]);
  [[TKTokenKeychainItem alloc] release];
}

}  // namespace
