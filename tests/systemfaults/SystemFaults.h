#pragma once

#include <string>

/// The functions of the system that can be made to fail: the program's own definitions win over the system's. Memory is
/// what operator new gives; the product asks malloc for nothing itself.
namespace SystemFaults {

enum Function { IconvOpen, Iconv, FOpen, FWrite, GetPwUid, SetLocale, New, kFunctions };

/// The function's name.
const char* NameOf(Function function);

/// Counts the calls of this thread while it lives, and lets one of them fail.
class Watch {
 public:
  /// Lets the `occurrence`-th call of `function` fail, counted from 1; 0: none.
  explicit Watch(Function function = kFunctions, int occurrence = 0);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
};

/// How often the function was called under the latest watch.
int Calls(Function function);

}  // namespace SystemFaults
