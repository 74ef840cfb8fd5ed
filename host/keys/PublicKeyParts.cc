#include "host/keys/PublicKeyParts.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace Host {

Wire::Bytes UncompressedPoint(EVP_PKEY* key) {
  EVP_PKEY_set_utf8_string_param(key, OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT, "uncompressed");
  size_t length = 0;
  EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY, nullptr, 0, &length);
  Wire::Bytes point(length);
  if (length == 0 ||
      !EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_ENCODED_PUBLIC_KEY, point.data(), point.size(), &length))
    return {};
  point.resize(length);
  return point;
}

Wire::Bytes NumberOf(const EVP_PKEY* key, const char* parameter) {
  BIGNUM* number = nullptr;
  if (EVP_PKEY_get_bn_param(key, parameter, &number) != 1) return {};
  const std::unique_ptr<BIGNUM, decltype(&BN_free)> owner(number, BN_free);
  Wire::Bytes bytes(static_cast<size_t>(BN_num_bytes(number)));
  BN_bn2bin(number, bytes.data());
  return bytes;
}

Wire::Bytes PublicKeyHash(const X509* certificate) {
  Wire::Bytes hash(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  if (X509_pubkey_digest(certificate, EVP_sha1(), hash.data(), &length) != 1) return {};
  hash.resize(length);
  return hash;
}

}  // namespace Host
