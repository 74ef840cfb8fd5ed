#pragma once

#include "platform/wire/Client.h"

namespace Host {

/// The external form, 04 X Y, of the elliptic-curve public key in `pem`. `name` is for messages.
/// Throws Failure when the text holds no such key.
Wire::Bytes PublicPointFromPem(const Wire::Bytes& pem, const std::string& name);

/// A certificate's PEM text. `der` is not examined.
Wire::Bytes PemFromCertificate(const Wire::Bytes& der);

}  // namespace Host
