// GnuTLS with its own PKCS#11 support, as a program that signs with a card's key uses it.

#include <gnutls/abstract.h>
#include <gnutls/pkcs11.h>

#include <cstdio>
#include <cstdlib>

#include "bench/BenchCard.h"
#include "bench/Callgrind.h"
#include "bench/OwnCounts.h"
#include "bench/OwnTime.h"
#include "bench/Pkcs11Url.h"
#include "bench/Turns.h"

namespace {

void Require(int result, const char* what) {
  if (result >= 0) return;
  std::fprintf(stderr, "%s: %s\n", what, gnutls_strerror(result));
  std::exit(1);
}

/// Lives until the process ends.
gnutls_privkey_t LoadKey(const SigningKey& key) {
  Require(gnutls_pkcs11_init(GNUTLS_PKCS11_FLAG_MANUAL, nullptr), "gnutls_pkcs11_init");
  Require(gnutls_pkcs11_add_provider(TimedLibrary(), nullptr), "gnutls_pkcs11_add_provider");
  gnutls_privkey_t loaded = nullptr;
  Require(gnutls_privkey_init(&loaded), "gnutls_privkey_init");
  Require(gnutls_privkey_import_url(loaded, Pkcs11Url(key).c_str(), 0), "gnutls_privkey_import_url");
  return loaded;
}

void Sign(gnutls_privkey_t key, const Bare::ByteString& digest) {
  const gnutls_datum_t hash = {const_cast<unsigned char*>(digest.data()), static_cast<unsigned>(digest.size())};
  gnutls_datum_t signature = {nullptr, 0};
  const auto algorithm = digest.size() == 48 ? GNUTLS_DIG_SHA384 : GNUTLS_DIG_SHA256;
  Require(gnutls_privkey_sign_hash(key, algorithm, 0, &hash, &signature), "gnutls_privkey_sign_hash");
  gnutls_free(signature.data);
}

void Decrypt(gnutls_privkey_t key, const Bare::ByteString& ciphertext) {
  const gnutls_datum_t input = {const_cast<unsigned char*>(ciphertext.data()),
                                static_cast<unsigned>(ciphertext.size())};
  gnutls_datum_t plaintext = {nullptr, 0};
  Require(gnutls_privkey_decrypt_data(key, 0, &input, &plaintext), "gnutls_privkey_decrypt_data");
  gnutls_free(plaintext.data);
}

std::function<void()> MakeOperation(Operation operation, const SigningKey& key) {
  if (operation == Operation::Agreement) return {};  // it has none with a card's key
  BenchCard::Use(BenchCard::kMain);
  const gnutls_privkey_t loaded = LoadKey(key);
  if (operation == Operation::Decryption)
    return [=, ciphertext = BenchCard::Ciphertext()] { Decrypt(loaded, ciphertext); };
  return [=, digest = Digest(key.digestBytes)] { Sign(loaded, digest); };
}

void Run(benchmark::State& state, const std::string& card, const SigningKey& key) {
  BenchCard::Use(card);
  const gnutls_privkey_t loaded = LoadKey(key);
  const Bare::ByteString digest = Digest(key.digestBytes);
  MeasureOwnTime(state, [&] { Sign(loaded, digest); });
}

}  // namespace

int main(int argc, char** argv) {
  if (UnderValgrind()) return CountOperations(MakeOperation);
  RegisterOwnTime("GnuTLS", Run);
  return RunBenchmarks(argc, argv);
}
