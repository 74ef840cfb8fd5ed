/// What Landlock's versions know. The system's own header has it as of the version that the distribution was built
/// with, and the kernel is often newer.

#pragma once

#include <cstdint>

namespace Host::Landlock {

struct Ruleset {
  uint64_t files = 0;
  uint64_t network = 0;
  uint64_t scopes = 0;
};

// Rights to files and folders.
constexpr uint64_t kExecute = 1U << 0;
constexpr uint64_t kWriteFile = 1U << 1;
constexpr uint64_t kReadFile = 1U << 2;
constexpr uint64_t kReadFolder = 1U << 3;
constexpr uint64_t kRemoveFolder = 1U << 4;
constexpr uint64_t kRemoveFile = 1U << 5;
constexpr uint64_t kMakeFolder = 1U << 7;
constexpr uint64_t kMakeFile = 1U << 8;
constexpr uint64_t kMakePipe = 1U << 10;
constexpr uint64_t kTruncate = 1U << 14;

/// Every right to files that `version` of Landlock handles.
constexpr uint64_t FileRights(long version) {
  const int known = version >= 5 ? 16 : version >= 3 ? 15 : version == 2 ? 14 : 13;
  return (uint64_t{1} << known) - 1;
}

/// To bind and to connect TCP sockets.
constexpr uint64_t NetworkRights(long version) {
  return version >= 4 ? 3 : 0;
}

/// To reach abstract sockets of, and to send signals to, processes that are not confined alike.
constexpr uint64_t Scopes(long version) {
  return version >= 6 ? 3 : 0;
}

}  // namespace Host::Landlock
