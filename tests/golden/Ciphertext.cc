#include "tests/golden/Ciphertext.h"

#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <memory>

std::vector<uint8_t> CiphertextFor(const std::vector<uint8_t>& publicKey) {
  const unsigned char* der = publicKey.data();
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      d2i_PublicKey(EVP_PKEY_RSA, nullptr, &der, static_cast<long>(publicKey.size())), EVP_PKEY_free);
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(key.get(), nullptr),
                                                                            EVP_PKEY_CTX_free);
  const uint8_t text[] = {'t', 'e', 'x', 't'};
  std::vector<uint8_t> ciphertext(512);
  size_t length = ciphertext.size();
  const bool encrypted = context && EVP_PKEY_encrypt_init(context.get()) == 1 &&
                         EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) == 1 &&
                         EVP_PKEY_encrypt(context.get(), ciphertext.data(), &length, text, sizeof text) == 1;
  ciphertext.resize(encrypted ? length : 0);
  return ciphertext;
}
