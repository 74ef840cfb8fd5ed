#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace Host {

/// "1 byte", "2 bytes"; of nouns that take an s.
std::string Counted(size_t count, const std::string& noun);

/// "2 minutes", "1 second", "500 ms".
std::string InWords(std::chrono::milliseconds time);

}  // namespace Host
