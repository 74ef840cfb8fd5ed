#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

inline constexpr char kValidNow[] = "valid";

/// What a certificate says of itself. Texts are UTF-8 as the certificate has them, to be made safe where they are
/// shown.
struct CertificateFacts {
  std::string subject, issuer;        ///< as RFC 2253 writes names
  std::string serial;                 ///< hexadecimal
  std::string notBefore, notAfter;    ///< as RFC 3339 writes times: "2026-11-22T08:00:00Z"
  std::vector<std::string> keyUsage;  ///< as RFC 5280 names them, such as "digitalSignature"; empty: not limited
  std::string validity;               ///< kValidNow, "expired" or "not yet valid"
};

/// Nothing for what is no X.509 certificate.
std::optional<CertificateFacts> FactsOf(const Wire::Bytes& der);

}  // namespace Host
