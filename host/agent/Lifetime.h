/// How long a login lasts.

#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace Host {

/// A time as OpenSSH writes it: "600", "10m", "1h30m", with s, m, h, d and w in either case. Nothing for another text,
/// for no time at all and for more than a year.
std::optional<std::chrono::seconds> ParseLifetime(const std::string& text);

/// The time since the system started, also that which it slept.
std::chrono::nanoseconds TimeSinceStart();

/// A descriptor that can be read from when a time has come.
class Alarm {
 public:
  /// Throws Failure when the system has none.
  Alarm();
  ~Alarm();
  Alarm(const Alarm&) = delete;
  Alarm& operator=(const Alarm&) = delete;

  int Descriptor() const { return m_descriptor; }
  /// Nothing can be read until `time`, by TimeSinceStart; without one for ever.
  void SetTo(std::optional<std::chrono::nanoseconds> time);

 private:
  int m_descriptor;
};

}  // namespace Host
