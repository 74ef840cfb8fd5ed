#pragma once

#include <sys/types.h>

/// A screen that nobody sees, for windows of this process: sets DISPLAY. Ended with this object.
class Screen {
 public:
  /// Throws std::runtime_error when there is none.
  Screen();
  ~Screen();
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

 private:
  pid_t m_process = 0;
};
