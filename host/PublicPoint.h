#pragma once

#include <openssl/types.h>

#include "platform/wire/Client.h"

namespace Host {

/// The external form, 04 X Y, of an elliptic-curve public key. Empty for a key that has no point.
Wire::Bytes UncompressedPoint(EVP_PKEY* key);

}  // namespace Host
