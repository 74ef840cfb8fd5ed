// Strings as the other system's C++ library lays them out for this processor, which is not how it does for x86-64. This
// file is compiled with LLVM's headers and that layout; what has nothing to do with strings comes from the library
// itself.

#include <cstdio>
#include <stdexcept>
#include <string>

template class std::basic_string<char>;
template class std::basic_string<wchar_t>;
template std::string std::operator+(const char*, const std::string&);

template <typename Number>
static std::string Printed(const char* format, Number number) {
  char text[24];
  std::snprintf(text, sizeof text, format, number);
  return text;
}

std::string std::to_string(int number) {
  return Printed("%d", number);
}
std::string std::to_string(unsigned long number) {
  return Printed("%lu", number);
}
std::wstring std::to_wstring(int number) {
  const std::string digits = Printed("%d", number);
  return {digits.begin(), digits.end()};
}

std::runtime_error::runtime_error(const std::string& text) : runtime_error(text.c_str()) {}
