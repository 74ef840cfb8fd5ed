#include "host/ItemLookup.h"

#include <algorithm>

#include "platform/wire/Hex.h"

namespace Host {
namespace {

bool IsNamed(const Wire::Item& item, const std::string& id) {
  const auto bytes = Wire::FromHex(id);
  return item.label == id || (bytes && Wire::ToHex(bytes->data(), bytes->size()) == item.objectID);
}

}  // namespace

FoundItem FindItem(const CardTokens& tokens, Wire::Item::Kind kind, const std::string& id) {
  const std::string name = kind == Wire::Item::Kind::Key ? "key" : "certificate";
  std::vector<FoundItem> found;
  bool isOtherKind = false;
  for (const auto& token : tokens)
    for (const Wire::Item& item : token->Items()) {
      if (!IsNamed(item, id)) continue;
      if (item.kind == kind) found.push_back({token.get(), &item});
      isOtherKind = isOtherKind || item.kind != kind;
    }
  if (found.empty())
    throw Failure(ExitStatus::NotSupported,
                  (isOtherKind ? "'" + id + "' is no " + name : "no " + name + " is called '" + id + "'") +
                      "; 'ctkhost list' shows the " + name + "s");
  if (found.size() > 1)
    throw Failure(ExitStatus::NotSupported, std::to_string(found.size()) + " " + name + "s are called '" + id +
                                                "'; name one by its ID in 'ctkhost list', or use --reader");
  return found.front();
}

}  // namespace Host
