#ifndef SOFTCARD_TRACE_H
#define SOFTCARD_TRACE_H

#include <chrono>
#include <string>
#include <string_view>

#include "softcard/state/Names.h"

namespace SoftCard {

/// One line of the call trace: time of day, process, call, arguments, result, duration.
///
/// Written are lengths, handles, mechanisms, attribute types and whether a pointer was given; never what a byte
/// pointer or an attribute points at, so neither a PIN nor a key nor data. Values are taken after the call, so that
/// the lengths which it gave back are seen.
class TraceLine {
 public:
  /// Starts the clock. `names` are the arguments' names, separated by blanks, as in Functions.h.
  TraceLine(const char* call, const char* names);

  void Add(unsigned long value);
  void Add(unsigned char value);
  void Add(unsigned long* value);
  void Add(const CK_MECHANISM* mechanism);
  void Add(const CK_ATTRIBUTE* attributes);
  void Add(const void* pointer);
  void Add(CK_NOTIFY notify);

  /// Ends the clock; to be called before the arguments are added.
  void Returned(CK_RV result);

  /// Appends the line to `file`, which only the owner may read. A file that cannot be written is passed over: a trace
  /// never changes what a caller sees.
  void AppendTo(const std::string& file) const;

 private:
  std::string_view NextName();
  void Put(std::string_view name, const std::string& value);

  const char* m_call;
  std::string_view m_names;
  std::chrono::system_clock::time_point m_start = std::chrono::system_clock::now();
  std::chrono::steady_clock::time_point m_clock = std::chrono::steady_clock::now();
  double m_milliseconds = 0;
  CK_RV m_result = CKR_OK;
  const CK_ATTRIBUTE* m_template = nullptr;  ///< Written when the next argument tells how many there are.
  std::string m_templateName;
  std::string m_arguments;
};

}  // namespace SoftCard

#endif
