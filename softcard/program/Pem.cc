#include "softcard/program/Pem.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>

#include <stdexcept>

namespace SoftCard {

namespace {

using BioPointer = std::unique_ptr<BIO, OpensslFree<BIO_free_all>>;

BioPointer Open(const std::filesystem::path& file) {
  BioPointer in(BIO_new_file(file.c_str(), "r"));
  if (!in) throw std::runtime_error(file.string() + ": cannot be read");
  return in;
}

/// Given to OpenSSL so that it never asks on the terminal; notes that a passphrase would be needed.
int NoPassphrase(char*, int, int, void* asked) {
  *static_cast<bool*>(asked) = true;
  return -1;
}

/// What OpenSSL says of a file that holds something else helps nobody.
[[noreturn]] void FailToRead(const std::filesystem::path& file, const char* problem) {
  ERR_clear_error();
  throw std::runtime_error(file.string() + ": " + problem);
}

template <typename Write>
std::string Written(Write write) {
  const BioPointer out(BIO_new(BIO_s_mem()));
  if (!out || write(out.get()) != 1) FailInOpenssl("writing PEM");
  char* text = nullptr;
  const auto length = BIO_get_mem_data(out.get(), &text);
  return std::string(text, static_cast<size_t>(length));
}

}  // namespace

void FailInOpenssl(const std::string& what) {
  const char* const reason = ERR_reason_error_string(ERR_peek_last_error());
  ERR_clear_error();
  throw std::runtime_error(what + (reason ? std::string(": ") + reason : ""));
}

KeyPointer ReadPrivateKey(const std::filesystem::path& file) {
  bool encrypted = false;
  KeyPointer key(PEM_read_bio_PrivateKey(Open(file).get(), nullptr, NoPassphrase, &encrypted));
  if (encrypted) throw std::runtime_error(file.string() + ": is encrypted; decrypt it first: openssl pkey -in FILE");
  if (!key) FailToRead(file, "no private key in PEM form");
  return key;
}

CertificatePointer ReadCertificate(const std::filesystem::path& file) {
  CertificatePointer certificate(PEM_read_bio_X509(Open(file).get(), nullptr, nullptr, nullptr));
  if (!certificate) FailToRead(file, "no certificate in PEM form");
  return certificate;
}

std::string PemOf(const EVP_PKEY* key) {
  return Written(
      [&](BIO* out) { return PEM_write_bio_PKCS8PrivateKey(out, key, nullptr, nullptr, 0, nullptr, nullptr); });
}

std::string PemOf(const X509* certificate) {
  return Written([&](BIO* out) { return PEM_write_bio_X509(out, certificate); });
}

}  // namespace SoftCard
