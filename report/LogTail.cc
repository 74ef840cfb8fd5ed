#include "report/LogTail.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "report/Redaction.h"
#include "report/Unreadable.h"

namespace Report {
namespace {

constexpr size_t kLines = 50;
constexpr long kMostBytes = 1 << 20;

/// The end of the file, from the beginning of a line on.
std::string EndOf(const std::string& path) {
  const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return {};
  const long size = std::ftell(file.get());
  const long skipped = size > kMostBytes ? size - kMostBytes : 0;
  if (size <= 0 || std::fseek(file.get(), skipped, SEEK_SET) != 0) return {};
  std::string text(static_cast<size_t>(size - skipped), '\0');
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (skipped > 0) text.erase(0, text.find('\n') == std::string::npos ? text.size() : text.find('\n') + 1);
  return text;
}

}  // namespace

LogTail ReadLogTail(const std::string& path) {
  LogTail tail;
  tail.problem = WhyUnreadable(path);
  const std::string text = EndOf(path);
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    const std::string line = text.substr(begin, end - begin);
    if (const std::string call = FailingCallIn(line); !call.empty()) tail.lastFailingCall = call;
    tail.lines.push_back(WithoutSecrets(line));
    begin = end + 1;
  }
  if (tail.lines.size() > kLines)
    tail.lines.erase(tail.lines.begin(), tail.lines.end() - static_cast<std::ptrdiff_t>(kLines));
  return tail;
}

}  // namespace Report
