#pragma once

#include <string>

#include "log/LogInterface.h"

/// The log provider that the process's log clients use, and the prefix of their names. Any thread may call; a client
/// keeps what was installed when it was made.
class InstalledInterface {
 public:
  /// Installs a copy of `interface`; nullptr removes the provider.
  static void Install(const QEL_LogInterface* interface);

  /// Sets the prefix that is put before a client's name, with a dot; nullptr or an empty text removes it.
  static void SetPrefix(const wchar_t* prefix);

  struct Copy {
    QEL_LogInterface interface;
    std::wstring prefix;
  };

  /// Returns a copy of what is installed: all null and an empty prefix while no provider is.
  static Copy Get();
};
