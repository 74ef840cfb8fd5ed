#include "tests/support/FakeClock.h"

#include <sys/time.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <optional>

namespace {

std::optional<timeval>& Stopped() {
  static std::optional<timeval> moment;
  return moment;
}

std::atomic<int> g_reads{0};

}  // namespace

FakeClock::FakeClock(int64_t seconds, int32_t microseconds) {
  Stopped() = timeval{seconds, microseconds};
  g_reads = 0;
}

int FakeClock::Reads() const {
  return g_reads;
}

FakeClock::~FakeClock() {
  Stopped().reset();
}

// The test program's definition wins over the system's, whose declaration only some systems mark noexcept.
extern "C" int gettimeofday(timeval* __restrict now,
                            void* __restrict) noexcept(noexcept(gettimeofday(nullptr, nullptr))) {
  if (Stopped()) {
    ++g_reads;
    *now = *Stopped();
  } else {
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    *now = timeval{real.tv_sec, static_cast<suseconds_t>(real.tv_nsec / 1000)};
  }
  return 0;
}

ScopedTimeZone::ScopedTimeZone(const char* zone) : m_wasSet(std::getenv("TZ") != nullptr) {
  if (m_wasSet) m_previous = std::getenv("TZ");
  setenv("TZ", zone, 1);
  tzset();
}

ScopedTimeZone::~ScopedTimeZone() {
  if (m_wasSet) {
    setenv("TZ", m_previous.c_str(), 1);
  } else {
    unsetenv("TZ");
  }
  tzset();
}
