#pragma once

#include <functional>
#include <string>

/// Whether this process runs under valgrind.
bool UnderValgrind();

/// Runs `operation` `warmUps` times, so that what is done once is done, and once more with its instructions counted:
/// callgrind writes a profile under `name`, started with --instr-atstart=no. What runs inside NotCounted is not in it.
void CountInstructions(const std::string& name, const std::function<void()>& operation, int warmUps = 20);

/// While one lives, callgrind counts nothing.
class NotCounted {
 public:
  NotCounted();
  ~NotCounted();
  NotCounted(const NotCounted&) = delete;
  NotCounted& operator=(const NotCounted&) = delete;
};
