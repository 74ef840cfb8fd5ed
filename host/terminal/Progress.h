#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Host {

/// Tells the user at a terminal what is being waited for, and for how long, from the construction of this object to
/// its end. One at a time in a process; nothing else may be printed meanwhile, and its line is gone afterwards, also
/// when an interrupt ends the program. Writes to standard error.
class Progress {
 public:
  /// What is over before is not told of.
  static constexpr std::chrono::milliseconds kSilence{300};

  /// Whether standard error is a terminal whose lines can be redrawn. Where it is not, nothing may be shown.
  static bool IsPossible();

  /// `what` such as "Waiting for the card".
  explicit Progress(std::string what);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void Run();

  std::string m_what;
  std::mutex m_lock;
  std::condition_variable m_change;
  bool m_ends = false;
  std::thread m_showing;
};

}  // namespace Host
