#include "host/agent/Lifetime.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "host/base/Failure.h"

namespace Host {
namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

constexpr int64_t kMostSeconds = 366 * 24 * 3600;

/// The seconds of a unit; 0 when it is none.
int64_t SecondsOf(char unit) {
  switch (std::tolower(static_cast<unsigned char>(unit))) {
    case 's':
      return 1;
    case 'm':
      return 60;
    case 'h':
      return 3600;
    case 'd':
      return 24 * 3600;
    case 'w':
      return 7 * 24 * 3600;
    default:
      return 0;
  }
}

}  // namespace

std::optional<seconds> ParseLifetime(const std::string& text) {
  int64_t total = 0;
  for (size_t at = 0; at < text.size();) {
    int64_t number = 0;
    const size_t begin = at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
      number = std::min(10 * number + (text[at] - '0'), kMostSeconds + 1);
    const int64_t unit = at == begin ? 0 : at == text.size() ? 1 : SecondsOf(text[at++]);
    if (unit == 0) return std::nullopt;
    total += number * unit;
    if (total > kMostSeconds) return std::nullopt;
  }
  return total > 0 ? std::optional(seconds(total)) : std::nullopt;
}

nanoseconds TimeSinceStart() {
  timespec now = {};
  clock_gettime(CLOCK_BOOTTIME, &now);
  return seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

Alarm::Alarm() : m_descriptor(timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
  if (m_descriptor < 0) throw Failure(ExitStatus::Failed, std::string("no timer: ") + std::strerror(errno));
}

Alarm::~Alarm() {
  close(m_descriptor);
}

void Alarm::SetTo(std::optional<nanoseconds> time) {
  itimerspec setting = {};
  if (time) {
    setting.it_value.tv_sec = *time / seconds(1);
    setting.it_value.tv_nsec = (*time % seconds(1)).count();
  }
  timerfd_settime(m_descriptor, TFD_TIMER_ABSTIME, &setting, nullptr);
}

}  // namespace Host
