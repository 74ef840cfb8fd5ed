#ifndef SOFTCARD_PEM_H
#define SOFTCARD_PEM_H

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace SoftCard {

template <auto Free>
struct OpensslFree {
  template <typename Type>
  void operator()(Type* object) const {
    Free(object);
  }
};
using KeyPointer = std::unique_ptr<EVP_PKEY, OpensslFree<EVP_PKEY_free>>;
using CertificatePointer = std::unique_ptr<X509, OpensslFree<X509_free>>;

/// Throws std::runtime_error with `what` and OpenSSL's own reason.
[[noreturn]] void FailInOpenssl(const std::string& what);

/// The file's private key (PKCS#8 or the older forms) or first certificate.
/// Throws std::runtime_error, naming the file; an encrypted key is refused, with the command that decrypts it.
KeyPointer ReadPrivateKey(const std::filesystem::path& file);
CertificatePointer ReadCertificate(const std::filesystem::path& file);

/// The PEM text of a key, unencrypted, or of a certificate. Throws std::runtime_error.
std::string PemOf(const EVP_PKEY* key);
std::string PemOf(const X509* certificate);

/// What an i2d function of OpenSSL makes of an object. Throws std::runtime_error when it refuses.
template <typename Object, typename Encode>
std::vector<unsigned char> Der(const Object* object, Encode encode) {
  unsigned char* out = nullptr;
  const int length = encode(object, &out);
  if (length < 0) FailInOpenssl("encoding");
  std::vector<unsigned char> der(out, out + length);
  OPENSSL_free(out);
  return der;
}

}  // namespace SoftCard

#endif
