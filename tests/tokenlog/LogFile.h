#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

/// The whole content of the file at `path`, empty when there is none.
inline std::string Content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// One line of a token log, taken apart.
struct LogLine {
  bool whole;         ///< whether the line has the exact form of one
  std::string level;  ///< padded, as in the file
  std::string name;
  std::string message;
};

inline LogLine ParseLogLine(const std::string& line) {
  // The head by a pattern, the message by position: messages may be very long.
  static const std::regex head(R"(^\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2},\d{3} \[\d+-0\] (.{5}) (\S+) - )");
  std::smatch found;
  const std::string start = line.substr(0, 200);
  if (!std::regex_search(start, found, head)) return {};
  const size_t headSize = static_cast<size_t>(found.length(0));
  return {true, found[1], found[2], line.substr(headSize)};
}

/// The lines of the token log at `path`. The last one counts as damaged when it does not end.
inline std::vector<LogLine> LogLines(const std::filesystem::path& path) {
  std::vector<LogLine> lines;
  const std::string content = Content(path);
  for (size_t start = 0; start < content.size();) {
    const size_t end = content.find('\n', start);
    lines.push_back(end == std::string::npos ? LogLine{} : ParseLogLine(content.substr(start, end - start)));
    start = end == std::string::npos ? content.size() : end + 1;
  }
  return lines;
}

/// "LEVEL NAME - MESSAGE" of each line, "damaged" for one that is not whole.
inline std::vector<std::string> LogTexts(const std::filesystem::path& path) {
  std::vector<std::string> texts;
  for (const LogLine& line : LogLines(path)) {
    texts.push_back(line.whole ? line.level + " " + line.name + " - " + line.message : "damaged");
  }
  return texts;
}
