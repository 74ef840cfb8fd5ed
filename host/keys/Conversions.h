#pragma once

#include <vector>

#include "host/keys/AlgorithmWalk.h"

namespace Host {

/// `data` after all of `conversions`, in their order. `blockLength` is the RSA key's length in bytes.
/// Throws Failure (not supported) for a conversion that the host does not compute or data too long for the block.
Wire::Bytes Convert(const std::vector<Conversion>& conversions, Wire::Bytes data, size_t blockLength);

/// 00 01 FF..FF 00 and `payload`, `blockLength` bytes in all. Throws Failure (not supported) when it does not fit.
Wire::Bytes PaddedBlock(const Wire::Bytes& payload, size_t blockLength);

}  // namespace Host
