// OpenSSL with libp11's engine, as a program that signs with a card's key uses them.

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

#include "bench/BenchCard.h"
#include "bench/Callgrind.h"
#include "bench/OwnCounts.h"
#include "bench/OwnTime.h"
#include "bench/Pkcs11Url.h"
#include "bench/Turns.h"

namespace {

void Require(bool fulfilled, const char* what) {
  if (fulfilled) return;
  std::fprintf(stderr, "%s: ", what);
  ERR_print_errors_fp(stderr);
  std::exit(1);
}

/// Lives until the process ends, as the engine does.
EVP_PKEY* LoadKey(const SigningKey& key) {
  ENGINE_load_builtin_engines();
  ENGINE* const engine = ENGINE_by_id("pkcs11");
  Require(engine != nullptr, "no engine pkcs11");
  Require(ENGINE_ctrl_cmd_string(engine, "MODULE_PATH", TimedLibrary(), 0) == 1, "MODULE_PATH");
  Require(ENGINE_init(engine) == 1, "engine");
  EVP_PKEY* const loaded = ENGINE_load_private_key(engine, Pkcs11Url(key).c_str(), nullptr, nullptr);
  Require(loaded != nullptr, "key");
  return loaded;
}

using Context = std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)>;

Context NewContext(EVP_PKEY* key) {
  return {EVP_PKEY_CTX_new(key, nullptr), &EVP_PKEY_CTX_free};
}

void Sign(EVP_PKEY* key, const SigningKey& what, const Bare::ByteString& digest) {
  const Context context = NewContext(key);
  Require(EVP_PKEY_sign_init(context.get()) == 1, "EVP_PKEY_sign_init");
  if (what.IsRsa()) EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
  EVP_PKEY_CTX_set_signature_md(context.get(), digest.size() == 48 ? EVP_sha384() : EVP_sha256());
  unsigned char signature[512];
  size_t length = sizeof signature;
  Require(EVP_PKEY_sign(context.get(), signature, &length, digest.data(), digest.size()) == 1, "EVP_PKEY_sign");
}

void Decrypt(EVP_PKEY* key, const Bare::ByteString& ciphertext) {
  const Context context = NewContext(key);
  Require(EVP_PKEY_decrypt_init(context.get()) == 1, "EVP_PKEY_decrypt_init");
  EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
  unsigned char plaintext[512];
  size_t length = sizeof plaintext;
  Require(EVP_PKEY_decrypt(context.get(), plaintext, &length, ciphertext.data(), ciphertext.size()) == 1,
          "EVP_PKEY_decrypt");
}

void Agree(EVP_PKEY* key, EVP_PKEY* peer) {
  const Context context = NewContext(key);
  Require(EVP_PKEY_derive_init(context.get()) == 1, "EVP_PKEY_derive_init");
  EVP_PKEY_CTX_set_ecdh_kdf_type(context.get(), EVP_PKEY_ECDH_KDF_X9_63);
  EVP_PKEY_CTX_set_ecdh_kdf_md(context.get(), EVP_sha1());
  EVP_PKEY_CTX_set_ecdh_kdf_outlen(context.get(), kAgreedBytes);
  Require(EVP_PKEY_derive_set_peer(context.get(), peer) == 1, "EVP_PKEY_derive_set_peer");
  unsigned char secret[kAgreedBytes];
  size_t length = sizeof secret;
  Require(EVP_PKEY_derive(context.get(), secret, &length) == 1, "EVP_PKEY_derive");
}

/// Keys live until the process ends.
std::function<void()> MakeOperation(Operation operation, const SigningKey& key) {
  BenchCard::Use(BenchCard::kMain);
  EVP_PKEY* const loaded = LoadKey(key);
  switch (operation) {
    case Operation::Signature:
      return [=, digest = Digest(key.digestBytes)] { Sign(loaded, key, digest); };
    case Operation::Decryption:
      return [=, ciphertext = BenchCard::Ciphertext()] { Decrypt(loaded, ciphertext); };
    case Operation::Agreement: {
      const auto info = BenchCard::PeerKey();
      const unsigned char* next = info.data();
      EVP_PKEY* const peer = d2i_PUBKEY(nullptr, &next, static_cast<long>(info.size()));
      return [=] { Agree(loaded, peer); };
    }
  }
  return {};
}

void Run(benchmark::State& state, const std::string& card, const SigningKey& key) {
  BenchCard::Use(card);
  EVP_PKEY* const loaded = LoadKey(key);
  const Bare::ByteString digest = Digest(key.digestBytes);
  MeasureOwnTime(state, [&] { Sign(loaded, key, digest); });
}

}  // namespace

int main(int argc, char** argv) {
  if (UnderValgrind()) return CountOperations(MakeOperation);
  RegisterOwnTime("OpenSSL with libp11", Run);
  return RunBenchmarks(argc, argv);
}
