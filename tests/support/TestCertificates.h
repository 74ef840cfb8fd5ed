#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TestCertificates {

/// A self-signed certificate in DER for a new key, made once per process: RSA with 2048 bits, or EC on P-256. `subject`
/// is its common name.
std::vector<uint8_t> Rsa(const std::string& subject = "Test RSA");
std::vector<uint8_t> Ec(const std::string& subject = "Test EC");

/// A certificate whose key is neither RSA nor EC (Ed25519).
std::vector<uint8_t> Ed25519();

/// Certificates for an EC key whose time is over, or has not come.
std::vector<uint8_t> Expired();
std::vector<uint8_t> NotYetValid();

}  // namespace TestCertificates
