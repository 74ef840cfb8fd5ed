#include "softcard/library/Trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace SoftCard {

namespace {

bool StartsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::string TimeOfDay(std::chrono::system_clock::time_point time) {
  const auto seconds = std::chrono::system_clock::to_time_t(time);
  const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count() % 1000000;
  tm local{};
  localtime_r(&seconds, &local);
  char text[40];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.%06d", local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<int>(micros));
  return text;
}

std::string AttributeList(const CK_ATTRIBUTE* attributes, unsigned long count) {
  std::string list = "[";
  for (unsigned long i = 0; i < count; i++) {
    const auto length = attributes[i].ulValueLen;
    list += (i ? " " : "") + AttributeName(attributes[i].type) + "(" +
            (length == CK_UNAVAILABLE_INFORMATION ? "unavailable" : std::to_string(length)) + ")";
  }
  return list + "]";
}

}  // namespace

TraceLine::TraceLine(const char* call, const char* names) : m_call(call), m_names(names) {}

void TraceLine::Returned(CK_RV result) {
  m_milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - m_clock).count();
  m_result = result;
}

std::string_view TraceLine::NextName() {
  const auto name = m_names.substr(0, m_names.find(' '));
  m_names.remove_prefix(std::min(m_names.size(), name.size() + 1));
  return name;
}

void TraceLine::Put(std::string_view name, const std::string& value) {
  if (!m_arguments.empty()) m_arguments += ", ";
  m_arguments.append(name).append("=").append(value);
}

void TraceLine::Add(unsigned long value) {
  const auto name = NextName();
  if (m_template) Put(m_templateName, AttributeList(m_template, value));
  m_template = nullptr;
  if (name == "mechanism") return Put(name, MechanismName(value));
  Put(name, StartsWith(name, "ul") ? std::to_string(value) : Hex(value));
}

void TraceLine::Add(unsigned char value) {
  Put(NextName(), std::to_string(value));
}

void TraceLine::Add(unsigned long* value) {
  const auto name = NextName();
  const bool written = m_result == CKR_OK || m_result == CKR_BUFFER_TOO_SMALL;
  if (value && written && StartsWith(name, "pul")) return Put(name, std::to_string(*value));
  if (value && written && StartsWith(name, "ph")) return Put(name, Hex(*value));
  Put(name, value ? "given" : "null");
}

void TraceLine::Add(const CK_MECHANISM* mechanism) {
  const auto name = NextName();
  if (!mechanism) return Put(name, "null");
  Put(name, MechanismName(mechanism->mechanism) + "(" + std::to_string(mechanism->ulParameterLen) + ")");
}

void TraceLine::Add(const CK_ATTRIBUTE* attributes) {
  m_templateName = NextName();
  m_template = attributes;
  if (!attributes) Put(m_templateName, "null");
}

void TraceLine::Add(const void* pointer) {
  Put(NextName(), pointer ? "given" : "null");
}

void TraceLine::Add(CK_NOTIFY notify) {
  Put(NextName(), notify ? "given" : "null");
}

void TraceLine::AppendTo(const std::string& file) const {
  char duration[40];
  std::snprintf(duration, sizeof duration, "%.3f ms", m_milliseconds);
  const std::string line = TimeOfDay(m_start) + " " + std::to_string(getpid()) + " " + m_call + "(" + m_arguments +
                           ") => " + ResultName(m_result) + " " + Hex(m_result, 8) + ", " + duration + "\n";
  const int descriptor = open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (descriptor < 0) return;
  // One write per line keeps the lines of several processes apart.
  [[maybe_unused]] const auto written = write(descriptor, line.data(), line.size());
  close(descriptor);
}

}  // namespace SoftCard
