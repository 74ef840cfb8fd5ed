#include "host/keys/ItemNames.h"

namespace Host {

bool IsRsa(const Wire::Item& key) {
  return key.keyType == "42";
}

bool IsElliptic(const Wire::Item& key) {
  return key.keyType == "73";
}

std::string CardLabelIn(const std::string& label) {
  if (label.empty() || label.back() != ')') return label;
  size_t open = 0;  // brackets that are not closed before here, read from the end
  for (size_t at = label.size(); at-- > 1;) {
    if (label[at] == ')') ++open;
    if (label[at] == '(' && --open == 0) return label[at - 1] == ' ' ? label.substr(0, at - 1) : label;
  }
  return label;
}

std::string KeyTypeName(const Wire::Item& key) {
  const std::string type = IsRsa(key) ? "RSA" : IsElliptic(key) ? "EC P" : key.keyType;
  return type + "-" + std::to_string(key.keySizeInBits);
}

std::vector<std::string> CapabilitiesOf(const Wire::Item& key) {
  std::vector<std::string> names;
  if (key.canSign) names.emplace_back("sign");
  if (key.canDecrypt) names.emplace_back("decrypt");
  if (key.canPerformKeyExchange) names.emplace_back("agree");
  if (key.suitableForLogin) names.emplace_back("login");
  return names;
}

}  // namespace Host
