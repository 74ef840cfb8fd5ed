#include "host/keys/SignatureNames.h"

#include <openssl/evp.h>

#include <stdexcept>

#include "host/keys/ItemNames.h"

namespace Host {
namespace {

constexpr char kMessage[] = ":message-";
constexpr char kDigest[] = ":digest-";

struct Row {
  const char* name;
  const char* algorithm;
};

constexpr Row kRows[] = {
    {"rsa-pkcs1-sha1", "algid:sign:RSA:message-PKCS1v15:SHA1"},
    {"rsa-pkcs1-sha224", "algid:sign:RSA:message-PKCS1v15:SHA224"},
    {"rsa-pkcs1-sha256", "algid:sign:RSA:message-PKCS1v15:SHA256"},
    {"rsa-pkcs1-sha384", "algid:sign:RSA:message-PKCS1v15:SHA384"},
    {"rsa-pkcs1-sha512", "algid:sign:RSA:message-PKCS1v15:SHA512"},
    {"rsa-pss-sha256", "algid:sign:RSA:message-PSS:SHA256:SHA256:32"},
    {"rsa-pss-sha384", "algid:sign:RSA:message-PSS:SHA384:SHA384:48"},
    {"rsa-pss-sha512", "algid:sign:RSA:message-PSS:SHA512:SHA512:64"},
    {"ecdsa-sha1", "algid:sign:ECDSA:message-X962:SHA1"},
    {"ecdsa-sha224", "algid:sign:ECDSA:message-X962:SHA224"},
    {"ecdsa-sha256", "algid:sign:ECDSA:message-X962:SHA256"},
    {"ecdsa-sha384", "algid:sign:ECDSA:message-X962:SHA384"},
    {"ecdsa-sha512", "algid:sign:ECDSA:message-X962:SHA512"},
};

}  // namespace

std::vector<std::string> SignatureNames() {
  std::vector<std::string> names;
  for (const Row& row : kRows) names.emplace_back(row.name);
  return names;
}

std::vector<std::string> SignatureNamesFor(const Wire::Item& key) {
  const std::string prefix = IsRsa(key) ? "rsa-" : IsElliptic(key) ? "ecdsa-" : "-";
  std::vector<std::string> names;
  for (const Row& row : kRows)
    if (std::string(row.name).rfind(prefix, 0) == 0) names.emplace_back(row.name);
  return names;
}

std::string SignatureAlgorithm(const std::string& name) {
  for (const Row& row : kRows)
    if (name == row.name) return row.algorithm;
  throw std::out_of_range("no signature algorithm is called " + name);
}

std::string DigestSignatureAlgorithm(const std::string& name) {
  std::string algorithm = SignatureAlgorithm(name);
  return algorithm.replace(algorithm.find(kMessage), sizeof kMessage - 1, kDigest);
}

size_t DigestLength(const std::string& name) {
  const EVP_MD* const digest = EVP_get_digestbyname(name.substr(name.rfind('-') + 1).c_str());
  if (!digest) throw std::out_of_range("no digest is called as in " + name);
  return static_cast<size_t>(EVP_MD_get_size(digest));
}

std::string SignatureNameOf(const std::string& algorithm) {
  for (const Row& row : kRows)
    if (algorithm == row.algorithm || algorithm == DigestSignatureAlgorithm(row.name)) return row.name;
  return "";
}

}  // namespace Host
