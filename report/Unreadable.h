#pragma once

#include <filesystem>
#include <string>

namespace Report {

/// Why `file` cannot be read, in the system's words. Empty when it can be, and when there is no such file.
std::string WhyUnreadable(const std::filesystem::path& file);

}  // namespace Report
