// The system log: the compiler packs the arguments of a message into a buffer, which the log's server takes apart.

#include <os/log.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {

/// Its address is the default log.
char macos_os_log_default[8];

/// `buffer`: two bytes, the second of which counts the arguments, then for each a byte for its kind, one for its size,
/// and its value.
void macos_os_log_error_impl(void*, os_log_t log, os_log_type_t type, const char* format, const uint8_t* buffer,
                             uint32_t size) {
  constexpr uint32_t kMost = 6;
  uint64_t arguments[kMost] = {};
  uint32_t at = 2;
  for (uint32_t i = 0; i < buffer[1]; ++i) {
    const uint32_t length = buffer[at + 1];
    if (i >= kMost || at + 2 + length > size || length > sizeof *arguments) {
      std::fprintf(stderr, "a message to the system log has arguments of an unknown form: %s\n", format);
      std::abort();
    }
    std::memcpy(&arguments[i], buffer + at + 2, length);
    at += 2 + length;
  }
  // Integers and pointers are handed over alike; the format takes as many as there are.
  qel_os_log_write(log, type, format, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                   arguments[5]);
}

}  // extern "C"
