#include "host/Pem.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <memory>

#include "host/Failure.h"
#include "host/PublicPoint.h"

namespace Host {

using ScopedBio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using ScopedKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

Wire::Bytes PublicPointFromPem(const Wire::Bytes& pem, const std::string& name) {
  const ScopedBio bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
  const ScopedKey key(bio ? PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr) : nullptr, EVP_PKEY_free);
  if (!key || EVP_PKEY_get_base_id(key.get()) != EVP_PKEY_EC)
    throw Failure(ExitStatus::Failed,
                  name + " holds no elliptic-curve public key in PEM form; " + "'openssl pkey -pubout' writes one");
  Wire::Bytes point = UncompressedPoint(key.get());
  if (point.empty()) throw Failure(ExitStatus::Failed, "the public key in " + name + " has no point on a curve");
  return point;
}

Wire::Bytes PemFromCertificate(const Wire::Bytes& der) {
  const ScopedBio bio(BIO_new(BIO_s_mem()), BIO_free);
  if (!bio || PEM_write_bio(bio.get(), PEM_STRING_X509, "", der.data(), static_cast<long>(der.size())) <= 0)
    throw Failure(ExitStatus::Failed, "encoding the certificate failed");
  const char* text = nullptr;
  const long length = BIO_get_mem_data(bio.get(), &text);
  return {text, text + length};
}

}  // namespace Host
