// What the platform's stand-in tells about a certificate that the card chose.

#include <cstdlib>

#include "platform/src/Security/X509Certificate.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto certificate = ParseX509(data, size);
  if (!certificate) return 0;
  const bool known = certificate->keyType != X509Certificate::KeyType::Other;
  if (known != (certificate->keySizeInBits > 0)) std::abort();
  if (known && (certificate->publicKey.empty() || certificate->publicKeyHash.size() != 20)) std::abort();
  return 0;
}
