#include "token/Pkcs1Padding.h"

#include <algorithm>

int64_t Pkcs1PayloadOffset(const uint8_t* block, size_t length) {
  if (length < 1 || block[0] != 0x00) return -1;
  if (length < 2 || block[1] != 0x01) return -2;
  const uint8_t* const end = block + length;
  const uint8_t* const padded = std::find_if(block + 2, end, [](uint8_t byte) { return byte != 0xFF; });
  if (padded == end) return -4;
  return *padded == 0x00 ? padded - block + 1 : -3;
}
