/// Tables of a standard's numbers and their symbolic names.

#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace Report {

struct NamedValue {
  unsigned long value;
  const char* name;
};

/// The row of a macro's name.
#define QEL_NAMED(symbol) \
  { symbol, #symbol }

/// The name of `value` in `names`; "0x" and at least eight hexadecimal digits for one that is not there.
template <size_t Count>
std::string NameIn(const NamedValue (&names)[Count], unsigned long value) {
  for (const NamedValue& named : names)
    if (named.value == value) return named.name;
  char text[24];
  std::snprintf(text, sizeof text, "0x%08lX", value);
  return text;
}

}  // namespace Report
