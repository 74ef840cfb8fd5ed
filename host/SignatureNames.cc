#include "host/SignatureNames.h"

#include <stdexcept>

namespace Host {
namespace {

struct Row {
  const char* name;
  const char* algorithm;
};

constexpr Row kRows[] = {
    {"rsa-pkcs1-sha1", "algid:sign:RSA:message-PKCS1v15:SHA1"},
    {"rsa-pkcs1-sha256", "algid:sign:RSA:message-PKCS1v15:SHA256"},
    {"rsa-pkcs1-sha384", "algid:sign:RSA:message-PKCS1v15:SHA384"},
    {"rsa-pkcs1-sha512", "algid:sign:RSA:message-PKCS1v15:SHA512"},
    {"rsa-pss-sha256", "algid:sign:RSA:message-PSS:SHA256:SHA256:32"},
    {"rsa-pss-sha384", "algid:sign:RSA:message-PSS:SHA384:SHA384:48"},
    {"rsa-pss-sha512", "algid:sign:RSA:message-PSS:SHA512:SHA512:64"},
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

std::string SignatureAlgorithm(const std::string& name) {
  for (const Row& row : kRows)
    if (name == row.name) return row.algorithm;
  throw std::out_of_range("no signature algorithm is called " + name);
}

std::string SignatureNameOf(const std::string& algorithm) {
  for (const Row& row : kRows)
    if (algorithm == row.algorithm) return row.name;
  return "";
}

}  // namespace Host
