#include "host/extension/Timing.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/base/Failure.h"
#include "host/base/Words.h"
#include "host/terminal/JsonText.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

constexpr size_t kNameColumns = 48;
constexpr char kTraceVariable[] = "QEL_SOFTCARD_TRACE";
constexpr std::streamoff kMostOfARequest = 16 * 1024 * 1024;

std::string Row(const std::string& name, double milliseconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%10.3f ms", milliseconds);
  return Cell(name, kNameColumns) + text;
}

}  // namespace

LibraryCall LibraryCallFrom(std::string_view traceLine) {
  // 05:17:00.288463 29273 C_CloseSession(hSession=0x1) => CKR_OK 0x00000000, 0.007 ms
  const size_t name = traceLine.find(" C_");
  const size_t open = traceLine.find('(', name == std::string_view::npos ? 0 : name);
  const size_t arrow = traceLine.rfind(" => ");
  const size_t comma = traceLine.rfind(", ");
  if (name == std::string_view::npos || open == std::string_view::npos || arrow == std::string_view::npos ||
      comma == std::string_view::npos || !(name < open && open < arrow && arrow < comma))
    return {};
  const std::string_view result = traceLine.substr(arrow + 4, comma - arrow - 4);
  return {std::string(traceLine.substr(name + 1, open - name - 1)), std::string(result.substr(0, result.find(' '))),
          std::strtod(std::string(traceLine.substr(comma + 2)).c_str(), nullptr)};
}

double RequestTime::Library() const {
  double sum = 0;
  for (const LibraryCall& call : calls) sum += call.milliseconds;
  return sum;
}

std::string TimingText(const RequestTime& time) {
  std::string text = Row(time.request, time.total) + "\n" + Row("  application and socket", time.OfApplication()) +
                     "\n" + Row("  extension", time.OfExtension()) + "\n";
  if (time.calls.empty()) return text;
  text += Row("  library", time.Library()) + "\n";
  for (auto call = time.calls.begin(); call != time.calls.end();) {
    size_t times = 0;
    double sum = 0;
    const LibraryCall& first = *call;
    for (; call != time.calls.end() && call->name == first.name && call->result == first.result; ++call, ++times)
      sum += call->milliseconds;
    text += Row("    " + first.name + (times > 1 ? " x " + std::to_string(times) : ""), sum) +
            (first.result == "CKR_OK" ? "" : "  " + ForTerminal(first.result, kNameColumns)) + "\n";
  }
  return text;
}

std::string TimingTotal(size_t requests, double milliseconds) {
  return Row("total of " + Counted(requests, "request"), milliseconds) + "\n";
}

std::string TimingJson(const RequestTime& time) {
  nlohmann::json calls = nlohmann::json::array();
  for (const LibraryCall& call : time.calls)
    calls.push_back({{"call", call.name}, {"result", call.result}, {"milliseconds", call.milliseconds}});
  const nlohmann::json described = {
      {"request", time.request},         {"milliseconds", time.total}, {"application", time.OfApplication()},
      {"extension", time.OfExtension()}, {"library", time.Library()},  {"calls", calls}};
  return JsonText(described) + "\n";
}

LibraryTrace::LibraryTrace() : m_path(std::filesystem::temp_directory_path() / "ctkhost-timing-XXXXXX") {
  const int file = mkstemp(m_path.data());
  if (file < 0) throw Failure(ExitStatus::Failed, m_path + ": no file for the times: " + std::strerror(errno));
  close(file);
  m_file.open(m_path);
  setenv(kTraceVariable, m_path.c_str(), 1);
}

LibraryTrace::~LibraryTrace() {
  unsetenv(kTraceVariable);
  unlink(m_path.c_str());
}

std::vector<LibraryCall> LibraryTrace::NewCalls() {
  std::vector<LibraryCall> calls;
  m_file.clear();  // the end that was met last time
  // The extension writes it and could write anything.
  const auto read = m_file.tellg(), end = m_file.seekg(0, std::ios::end).tellg();
  if (end - read > kMostOfARequest) return {};
  m_file.seekg(read);
  for (std::string line; std::getline(m_file, line);)
    if (LibraryCall call = LibraryCallFrom(line); !call.name.empty()) calls.push_back(std::move(call));
  return calls;
}

}  // namespace Host
