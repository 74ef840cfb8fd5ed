#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#import "platform/testing/TKTesting.h"
#import "tests/platform/MadeDriver.h"
#include "tests/platform/Raised.h"

namespace {}  // namespace

@interface DelegatingSession : TKTokenSession <TKTokenSessionDelegate>
@end

@implementation DelegatingSession
@end

namespace {

TKToken *Token() {
  return [[[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"] autorelease];
}

TEST(TKTokenSession, IsItsOwnDelegateWhenItConforms) {
  DelegatingSession *session = [[[DelegatingSession alloc] initWithToken:Token()] autorelease];
  EXPECT_TRUE([session delegate] == session);
}

TEST(TKTokenSession, HasNoDelegateOtherwise) {
  EXPECT_TRUE([[[[TKTokenSession alloc] initWithToken:Token()] autorelease] delegate] == nil);
}

TEST(TKTokenSession, OwnsItsToken) {
  const LiveObjects tokens([TKToken class]);
  TKToken *token = [[TKToken alloc] initWithTokenDriver:MadeDriver() instanceID:@"QEL-1"];
  TKTokenSession *session = [[TKTokenSession alloc] initWithToken:token];
  [token release];
  EXPECT_TRUE([session token] == token);
  [session release];
}

TEST(TKTokenSession, MayBeReleasedBeforeItsInitializer) {
  const LiveObjects sessions([TKTokenSession class]);
  [[TKTokenSession alloc] release];
}

}  // namespace
