#include "host/Listing.h"

#include "platform/wire/Hex.h"

namespace Host {
namespace {

using json = nlohmann::json;
using Wire::Item;

constexpr size_t kColumns = 80;
constexpr char kIndent[] = "    ";

bool IsContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

std::string KeyTypeName(const Item& key) {
  const std::string type = key.keyType == "42" ? "RSA" : key.keyType == "73" ? "EC P" : key.keyType;
  return type + "-" + std::to_string(key.keySizeInBits);
}

std::vector<std::string> CapabilitiesOf(const Item& key) {
  std::vector<std::string> names;
  if (key.canSign) names.emplace_back("sign");
  if (key.canDecrypt) names.emplace_back("decrypt");
  if (key.canPerformKeyExchange) names.emplace_back("agree");
  if (key.suitableForLogin) names.emplace_back("login");
  return names;
}

std::string NameOf(Wire::Operation operation) {
  switch (operation) {
    case Wire::Operation::ReadData:
      return "read";
    case Wire::Operation::SignData:
      return "sign";
    case Wire::Operation::DecryptData:
      return "decrypt";
    case Wire::Operation::PerformKeyExchange:
      return "agree";
  }
  return std::to_string(static_cast<int>(operation));
}

std::string ConstraintText(const json& constraint) {
  if (constraint.is_boolean()) return constraint.get<bool>() ? "always" : "never";
  return constraint.is_string() ? constraint.get<std::string>() : constraint.dump();
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string Row(const std::string& name, const std::string& value) {
  const std::string start = kIndent + name + std::string(12 - name.size(), ' ');
  return start + ForTerminal(value, kColumns - start.size()) + "\n";
}

std::string ItemText(const Item& item) {
  const bool isKey = item.kind == Item::Kind::Key;
  std::string text = isKey ? "  key " : "  certificate ";
  text += item.objectID + "\n" + Row("label", item.label.value_or("(none)"));
  if (isKey) {
    text += Row("type", KeyTypeName(item)) + Row("can", Joined(CapabilitiesOf(item)));
  }
  std::vector<std::string> constraints;
  for (const auto& [operation, constraint] : item.constraints)
    constraints.push_back(NameOf(operation) + "=" + ConstraintText(constraint));
  return text + Row("constraints", Joined(constraints));
}

json ItemJson(const Item& item) {
  json described = {{"objectID", item.objectID}, {"label", item.label ? json(*item.label) : json(nullptr)}};
  described["constraints"] = json::object();
  for (const auto& [operation, constraint] : item.constraints) described["constraints"][NameOf(operation)] = constraint;
  if (item.kind == Item::Kind::Certificate) {
    described["kind"] = "certificate";
    described["certificate"] = Wire::ToHex(item.certificate.data(), item.certificate.size());
    return described;
  }
  described["kind"] = "key";
  described["keyType"] = KeyTypeName(item);
  described["keySizeInBits"] = item.keySizeInBits;
  described["publicKeyHash"] = Wire::ToHex(item.publicKeyHash.data(), item.publicKeyHash.size());
  described["capabilities"] = CapabilitiesOf(item);
  return described;
}

}  // namespace

std::string ForTerminal(const std::string& text, size_t columns) {
  size_t characters = 0;
  for (const char byte : text) characters += IsContinuation(byte) ? 0 : 1;
  const bool cut = characters > columns;
  std::string shown;
  size_t count = 0;
  for (const char byte : text) {
    if (!IsContinuation(byte) && ++count > (cut ? columns - 3 : columns)) break;
    shown += IsControl(byte) ? '?' : byte;
  }
  return cut ? shown + "..." : shown;
}

std::string ReadersText(const std::vector<Reader>& readers) {
  std::string text;
  for (const Reader& reader : readers)
    text += (reader.hasCard ? "card   " : "empty  ") + ForTerminal(reader.name, kColumns - 7) + "\n";
  return text;
}

std::string TokenText(const std::string& reader, const std::string& instanceID, const std::vector<Item>& items) {
  std::string text = ForTerminal("Token " + instanceID + " in reader " + reader, kColumns) + "\n";
  for (const Item& item : items) text += ItemText(item);
  return text;
}

json ReadersJson(const std::vector<Reader>& readers) {
  json described = json::array();
  for (const Reader& reader : readers) described.push_back({{"name", reader.name}, {"card", reader.hasCard}});
  return described;
}

json TokenJson(const std::string& reader, const std::string& instanceID, const std::vector<Item>& items) {
  json described = {{"reader", reader}, {"instanceID", instanceID}, {"items", json::array()}};
  for (const Item& item : items) described["items"].push_back(ItemJson(item));
  return described;
}

}  // namespace Host
