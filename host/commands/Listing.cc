#include "host/commands/Listing.h"

#include <algorithm>

#include "host/commands/ItemTable.h"
#include "host/keys/CertificateFacts.h"
#include "host/keys/ItemNames.h"
#include "host/keys/Pem.h"
#include "platform/wire/Hex.h"

namespace Host {
namespace {

using json = nlohmann::json;
using Wire::Item;

constexpr char kIndent[] = "  ";

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

json ItemJson(const Item& item) {
  json described = {{"objectID", item.objectID}, {"label", item.label ? json(*item.label) : json(nullptr)}};
  described["constraints"] = json::object();
  for (const auto& [operation, constraint] : item.constraints) described["constraints"][NameOf(operation)] = constraint;
  if (item.kind == Item::Kind::Certificate) {
    const Wire::Bytes pem = PemFromCertificate(item.certificate);
    described["kind"] = "certificate";
    described["certificate"] = std::string(pem.begin(), pem.end());
    if (const auto facts = FactsOf(item.certificate))
      described.update({{"subject", facts->subject},
                        {"issuer", facts->issuer},
                        {"serial", facts->serial},
                        {"notBefore", facts->notBefore},
                        {"notAfter", facts->notAfter},
                        {"validity", facts->validity},
                        {"keyUsage", facts->keyUsage}});
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

std::string ReadersText(const std::vector<Reader>& readers, const Page& page) {
  std::string text;
  for (const Reader& reader : readers) {
    std::string state = reader.hasCard ? "card   " : "empty  ";
    for (const std::string& line : Folded(reader.name, std::max(page.columns, state.size() + 1) - state.size())) {
      text += state + line + "\n";
      state.assign(state.size(), ' ');
    }
  }
  return text;
}

std::string TokenText(const std::string& reader, const std::string& instanceID, const std::vector<Item>& items,
                      const Page& page) {
  std::string text;
  for (const std::string& line : Folded("Token " + instanceID + " in reader " + reader, page.columns))
    text += page.Styled(Style::Bold, line) + "\n";
  if (items.empty()) return text + kIndent + "no certificates and no keys\n";
  const size_t indent = sizeof kIndent - 1;
  const ItemTable table = LayOut(RowsOf(items), std::max(page.columns, indent + 1) - indent);
  if (!table.heading.empty()) text += kIndent + page.Styled(Style::Faint, table.heading) + "\n";
  for (const std::string& line : table.lines) text += kIndent + line + "\n";
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
