#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// A text to look for in memory, kept in a form in which it is not found itself.
class HiddenText {
 public:
  /// Overwrites `text`, whose place in memory would be found otherwise.
  explicit HiddenText(std::string& text);

  size_t Length() const { return m_masked.size(); }

  /// The first byte: alone it gives nothing away, and looking for it first is quick.
  char First() const;

  /// Whether the text stands at `bytes`.
  bool StandsAt(const unsigned char* bytes) const;

 private:
  std::string m_masked;
};

/// Returns how often the text stands in the writable memory of a process, -1 when that cannot be read. Reserved ranges
/// above four gigabytes, a sanitizer's shadow, are left out.
int CopiesInMemory(pid_t process, const HiddenText& text);
