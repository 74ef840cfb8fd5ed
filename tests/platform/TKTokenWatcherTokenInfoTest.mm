#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "platform/testing/LiveObjects.h"
#include "tests/platform/PlayedService.h"

namespace {

TEST(TKTokenWatcherTokenInfo, TellsTheReaderAndTheDriverOfAToken) {
  const PlayedService service(
      "[{\"card\":true,\"name\":\"R\"}]",
      "{\"event\":\"token\",\"token\":{\"instanceID\":\"QEL-1\",\"items\":[],\"reader\":\"R\"}}\n");
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  TKTokenWatcherTokenInfo *info = [watcher tokenInfoForTokenID:@"com.example.played:QEL-1"];
  EXPECT_STREQ([[info tokenID] UTF8String], "com.example.played:QEL-1");
  EXPECT_STREQ([[info slotName] UTF8String], "R");
  EXPECT_STREQ([[info driverName] UTF8String], "Played");
}

}  // namespace
