#pragma once

#include <p11-kit/pkcs11.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

/// The mechanisms that the extension's algorithms serve: RSA PKCS#1 v1.5 and PSS, ECDSA.
std::vector<CK_MECHANISM_TYPE> ModuleMechanisms();

/// What C_GetMechanismInfo says. Nothing for other mechanisms.
std::optional<CK_MECHANISM_INFO> ModuleMechanismInfo(CK_MECHANISM_TYPE mechanism);

/// The platform's algorithm for a signature by `mechanism` of data that is hashed already. Nothing for a mechanism or
/// parameters that no algorithm of the platform has: PSS with other than one hash throughout and its length of salt.
std::optional<std::string> SignatureAlgorithmOf(const CK_MECHANISM& mechanism);

/// A signature of the platform in PKCS#11's form: an ECDSA one as r and s of equal length, `length` bytes in all.
/// Nothing when it has no such form.
std::optional<Wire::Bytes> ModuleSignature(CK_MECHANISM_TYPE mechanism, const Wire::Bytes& signature, size_t length);

}  // namespace Host
