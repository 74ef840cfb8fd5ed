#pragma once

#include <clocale>
#include <string>

/// The process's locale for the length of a scope; what the scope sets itself is undone as well.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) { std::setlocale(LC_ALL, name); }
  ~ScopedLocale() { std::setlocale(LC_ALL, m_before.c_str()); }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;

  static std::string Current() { return std::setlocale(LC_ALL, nullptr); }

 private:
  std::string m_before = Current();
};
