/// The end of the token log, as a report shows it.

#pragma once

#include <string>
#include <vector>

namespace Report {

struct LogTail {
  std::vector<std::string> lines;  ///< the last 50, without secrets
  std::string lastFailingCall;     ///< see FailingCallIn; of the whole end that was read; empty when there is none
  std::string problem;             ///< see WhyUnreadable
};

/// Reads the end of the file `path`, a megabyte at the most. Empty when it cannot be read; nothing is thrown.
LogTail ReadLogTail(const std::string& path);

}  // namespace Report
