#pragma once

#include <string>

#include "bench/BenchCard.h"
#include "bench/SigningKeys.h"

/// The private key on the benchmark card in use, as RFC 7512 names it, with the PIN.
inline std::string Pkcs11Url(const SigningKey& key) {
  std::string id;
  for (const CK_BYTE byte : key.id) id += {'%', "0123456789ABCDEF"[byte >> 4], "0123456789ABCDEF"[byte & 15]};
  return std::string("pkcs11:token=") + BenchCard::kLabel + ";id=" + id + ";type=private?pin-value=" + BenchCard::kPin;
}
