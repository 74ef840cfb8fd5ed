#include "token/Pkcs1Padding.h"

int64_t Pkcs1PayloadOffset(const uint8_t* block, size_t length) {
  if (length < 1 || block[0] != 0x00) return -1;
  if (length < 2 || block[1] != 0x01) return -2;
  for (size_t i = 2; i < length; ++i) {
    if (block[i] == 0x00) return static_cast<int64_t>(i) + 1;
    if (block[i] != 0xFF) return -3;
  }
  return -4;
}
