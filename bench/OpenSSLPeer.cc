// OpenSSL with libp11's engine, as a program that signs with a card's key uses them.

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/engine.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <memory>

#include "bench/BenchCard.h"
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

void Sign(EVP_PKEY* key, const SigningKey& what, const Bare::ByteString& digest) {
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(key, nullptr),
                                                                            &EVP_PKEY_CTX_free);
  Require(EVP_PKEY_sign_init(context.get()) == 1, "EVP_PKEY_sign_init");
  if (what.IsRsa()) EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING);
  EVP_PKEY_CTX_set_signature_md(context.get(), digest.size() == 48 ? EVP_sha384() : EVP_sha256());
  unsigned char signature[512];
  size_t length = sizeof signature;
  Require(EVP_PKEY_sign(context.get(), signature, &length, digest.data(), digest.size()) == 1, "EVP_PKEY_sign");
}

void Run(benchmark::State& state, const std::string& card, const SigningKey& key) {
  BenchCard::Use(card);
  EVP_PKEY* const loaded = LoadKey(key);
  const Bare::ByteString digest = Digest(key.digestBytes);
  MeasureOwnTime(state, [&] { Sign(loaded, key, digest); });
}

}  // namespace

int main(int argc, char** argv) {
  RegisterOwnTime("OpenSSL with libp11", Run);
  return RunBenchmarks(argc, argv);
}
