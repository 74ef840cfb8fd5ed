#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#import "platform/src/service/SmartCardService.h"
#include "tests/platform/PlayedService.h"

namespace {

constexpr char kReader[] = "[{\"card\":true,\"name\":\"R\"}]";
constexpr char kCard[] = "{\"event\":\"watching\"}\n{\"event\":\"reader\",\"reader\":\"R\",\"state\":\"card\"}\n";
constexpr char kToken[] = "{\"event\":\"token\",\"token\":{\"instanceID\":\"QEL-1\",\"items\":[],\"reader\":\"R\"}}\n";
constexpr char kEnded[] = "{\"event\":\"ended\",\"instanceID\":\"QEL-1\",\"reader\":\"R\"}\n";

NSString *const kTokenID = @"com.example.played:QEL-1";

TEST(TKTokenWatcher, WithoutAServiceKnowsNoTokens) {
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  EXPECT_EQ([[watcher tokenIDs] count], 0u);
  EXPECT_TRUE([watcher tokenInfoForTokenID:kTokenID] == nil);
}

TEST(TKTokenWatcher, NamesATokenByItsExtensionAndItsInstance) {
  const PlayedService service(kReader, std::string(kCard) + kToken);
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  EXPECT_TRUE([[watcher tokenIDs] isEqual:@[ kTokenID ]]);
  EXPECT_TRUE([watcher tokenInfoForTokenID:@"com.example.played:QEL-2"] == nil);
}

TEST(TKTokenWatcher, TellsItsObserversWhenATokenComesAndGoes) {
  const PlayedService service("[]", "");
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  ChangeCounter *changes = [[[ChangeCounter alloc] initWithObject:watcher key:@"tokenIDs"] autorelease];
  EXPECT_EQ([[watcher tokenIDs] count], 0u);
  service.Tell(std::string(kCard) + kToken);
  EXPECT_TRUE(RunsUntil([&] { return [[watcher tokenIDs] isEqual:@[ kTokenID ]]; }));
  EXPECT_EQ([changes count], 1);
  service.Tell(kEnded);
  EXPECT_TRUE(RunsUntil([&] { return [[watcher tokenIDs] count] == 0; }));
  EXPECT_EQ([changes count], 2);
}

TEST(TKTokenWatcher, KeepsItsTokensWhenAServiceTellsWhatIsNoMessage) {
  const PlayedService service(kReader, std::string("no JSON\n[]\n{}\n") + kCard + kToken + "{\"event\":\"tok");
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  EXPECT_TRUE([[watcher tokenIDs] isEqual:@[ kTokenID ]]);
}

}  // namespace
