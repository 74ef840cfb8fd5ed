#include "host/PublicPoint.h"

#include <openssl/core_names.h>
#include <openssl/evp.h>

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

}  // namespace Host
