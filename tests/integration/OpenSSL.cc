#include "tests/integration/OpenSSL.h"

#include <openssl/sha.h>

ChildResult RunOpenSSL(const std::vector<std::string>& arguments) {
  return RunChild(QEL_OPENSSL, arguments);
}

bool Verifies(const std::string& algorithm, const std::string& publicKey, const std::string& message,
              const std::string& signature) {
  const std::string digest = algorithm.substr(algorithm.rfind('-') + 1);
  std::vector<std::string> arguments = {"dgst", "-" + digest, "-verify", publicKey, "-signature", signature};
  if (algorithm.rfind("rsa-pss-", 0) == 0) {
    const int saltLength = std::stoi(digest.substr(3)) / 8;
    arguments.insert(arguments.end(),
                     {"-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:" + std::to_string(saltLength)});
  }
  arguments.push_back(message);
  return RunOpenSSL(arguments).exitStatus == 0;
}

std::string DeriveX963Sha1(const std::string& secret, size_t size, const std::string& sharedInfo) {
  std::string derived;
  for (unsigned char counter = 1; derived.size() < size; ++counter) {
    const std::string input = secret + std::string(3, '\0') + static_cast<char>(counter) + sharedInfo;
    unsigned char block[SHA_DIGEST_LENGTH];
    SHA1(reinterpret_cast<const unsigned char*>(input.data()), input.size(), block);
    derived.append(reinterpret_cast<char*>(block), sizeof block);
  }
  return derived.substr(0, size);
}
