#pragma once

#include <clocale>
#include <string>

/// A locale of this system whose encoding is UTF-8. Not every system has the one without a country.
inline const char* Utf8Locale() {
  static const char* const name = [] {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const char* const found = std::setlocale(LC_ALL, "C.UTF-8") ? "C.UTF-8" : "en_US.UTF-8";
    std::setlocale(LC_ALL, before.c_str());
    return found;
  }();
  return name;
}

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
