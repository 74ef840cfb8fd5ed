#include "host/agent/Lifetime.h"

#include <gtest/gtest.h>
#include <poll.h>

namespace {

using namespace std::chrono_literals;

TEST(Lifetime, IsReadAsOpensshWritesTimes) {
  const struct {
    const char* text;
    std::optional<std::chrono::seconds> time;
  } kRows[] = {
      {"600", 600s},
      {"600s", 600s},
      {"10m", 600s},
      {"1h30m", 5400s},
      {"1H", 3600s},
      {"2d", 48h},
      {"1w", 168h},
      {"1m30", 90s},
      {"366d", 366 * 24h},
      {"", {}},
      {"0", {}},
      {"0h", {}},
      {"-5", {}},
      {"h", {}},
      {"1x", {}},
      {"1 h", {}},
      {"1.5h", {}},
      {"m5", {}},
      {"5m ", {}},
      {"367d", {}},
      {"99999999999999999999", {}},
      {"99999999999999999999w", {}},
  };
  for (const auto& row : kRows) EXPECT_EQ(Host::ParseLifetime(row.text), row.time) << row.text;
}

bool IsReadable(const Host::Alarm& alarm, std::chrono::milliseconds patience) {
  pollfd waited = {alarm.Descriptor(), POLLIN, 0};
  return poll(&waited, 1, static_cast<int>(patience.count())) == 1;
}

TEST(Alarm, ComesAtItsTimeUntilItIsSetAnew) {
  Host::Alarm alarm;
  EXPECT_FALSE(IsReadable(alarm, 0ms));
  alarm.SetTo(Host::TimeSinceStart() + 10ms);
  EXPECT_TRUE(IsReadable(alarm, 10s));
  EXPECT_TRUE(IsReadable(alarm, 0ms));
  alarm.SetTo(Host::TimeSinceStart() + 1h);
  EXPECT_FALSE(IsReadable(alarm, 0ms));
  alarm.SetTo(Host::TimeSinceStart() - 1s);
  EXPECT_TRUE(IsReadable(alarm, 10s));
  alarm.SetTo(std::nullopt);
  EXPECT_FALSE(IsReadable(alarm, 0ms));
}

}  // namespace
