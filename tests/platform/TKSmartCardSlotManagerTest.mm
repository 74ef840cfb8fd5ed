#import <CryptoTokenKit/CryptoTokenKit.h>
#include <gtest/gtest.h>

#include "tests/platform/PlayedService.h"

namespace {

std::string Reader(const std::string &name, const std::string &state) {
  return "{\"event\":\"reader\",\"reader\":\"" + name + "\",\"state\":\"" + state + "\"}\n";
}

TEST(TKSmartCardSlotManager, ThereIsNoneWithoutAService) {
  EXPECT_TRUE([TKSmartCardSlotManager defaultManager] == nil);
}

TEST(TKSmartCardSlotManager, NamesTheReadersAndTheirStates) {
  const PlayedService service(
      "[{\"name\":\"R\"},{\"name\":\"S\"}]",
      Reader("R", "empty") + Reader("S", "card") + "{\"event\":\"failed\",\"reader\":\"S\",\"message\":\"no\"}\n");
  TKSmartCardSlotManager *manager = [TKSmartCardSlotManager defaultManager];
  NSArray *names = @[ @"R", @"S" ];
  EXPECT_TRUE([[manager slotNames] isEqual:names]);
  EXPECT_EQ([[manager slotNamed:@"R"] state], TKSmartCardSlotStateEmpty);
  EXPECT_EQ([[manager slotNamed:@"S"] state], TKSmartCardSlotStateValidCard);
  EXPECT_TRUE([manager slotNamed:@"T"] == nil);
}

TEST(TKSmartCardSlotManager, TellsItsObserversWhenReadersComeAndGo) {
  const PlayedService service("[]", "");
  TKSmartCardSlotManager *manager = [TKSmartCardSlotManager defaultManager];
  ChangeCounter *changes = [[[ChangeCounter alloc] initWithObject:manager key:@"slotNames"] autorelease];
  service.Tell(Reader("R", "empty"));
  EXPECT_TRUE(RunsUntil([&] { return [[manager slotNames] count] == 1; }));
  EXPECT_EQ([changes count], 1);
  service.Tell(Reader("R", "gone"));
  EXPECT_TRUE(RunsUntil([&] { return [[manager slotNames] count] == 0; }));
  EXPECT_EQ([changes count], 2);
}

TEST(TKSmartCardSlotManager, ItsReadersTellTheirObserversOfTheirStates) {
  const PlayedService service("[{\"name\":\"R\"}]", Reader("R", "empty"));
  TKSmartCardSlot *slot = [[TKSmartCardSlotManager defaultManager] slotNamed:@"R"];
  ChangeCounter *changes = [[[ChangeCounter alloc] initWithObject:slot key:@"state"] autorelease];
  service.Tell(Reader("R", "card"));
  EXPECT_TRUE(RunsUntil([&] { return [slot state] == TKSmartCardSlotStateProbing; }));
  EXPECT_EQ([changes count], 1);
  service.Tell(Reader("R", "gone"));
  EXPECT_TRUE(RunsUntil([&] { return [slot state] == TKSmartCardSlotStateMissing; }));
}

}  // namespace
