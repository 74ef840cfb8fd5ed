// PKCS#1 padding: what is removed is a padding, and nothing else is.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#import "token/SignatureForms.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const int64_t offset = Pkcs1PayloadOffset(data, size);
  if (offset < 0) {
    if (offset < -4) std::abort();
    return 0;
  }
  const auto length = static_cast<size_t>(offset);
  const bool isPadding = length >= 3 && length <= size && data[0] == 0x00 && data[1] == 0x01 &&
                         data[length - 1] == 0x00 &&
                         std::all_of(data + 2, data + length - 1, [](uint8_t byte) { return byte == 0xFF; });
  if (!isPadding) std::abort();
  return 0;
}
