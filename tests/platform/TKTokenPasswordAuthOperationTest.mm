#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#include "tests/platform/Raised.h"

namespace {

TEST(TKTokenPasswordAuthOperation, CopiesThePassword) {
  TKTokenPasswordAuthOperation *operation = [[[TKTokenPasswordAuthOperation alloc] init] autorelease];
  EXPECT_TRUE([operation password] == nil);
  NSMutableString *password = [NSMutableString stringWithString:@"secret"];
  [operation setPassword:password];
  [password setString:@"changed"];
  EXPECT_TRUE([[operation password] isEqual:@"secret"]);
}

}  // namespace
