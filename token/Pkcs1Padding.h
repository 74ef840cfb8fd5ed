#pragma once

#include <cstddef>
#include <cstdint>

/// Returns the offset of the payload after PKCS#1 v1.5 padding of type 1 (00 01 FF.. 00), or why there is none: -1 and
/// -2 for a wrong first and second byte, -3 for a foreign byte in the padding, -4 when it does not end. Any number of
/// FF bytes is taken, also none. A missing byte counts as a wrong one.
int64_t Pkcs1PayloadOffset(const uint8_t* block, size_t length);
