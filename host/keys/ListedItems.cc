#include "host/keys/ListedItems.h"

#include <algorithm>

#include "host/keys/KeySession.h"
#include "host/terminal/Terminal.h"

namespace Host {
namespace {

void Correct(Wire::Item& key, KeySession& session) {
  key.canSign = key.canSign && session.CanSign(key);
  key.canDecrypt = key.canDecrypt && session.CanDecrypt(key);
  key.canPerformKeyExchange = key.canPerformKeyExchange && session.CanAgree(key);
}

}  // namespace

std::vector<Wire::Item> ListedItems(const CardToken& token) {
  std::vector<Wire::Item> items = token.Items();
  std::stable_sort(items.begin(), items.end(),
                   [](const Wire::Item& one, const Wire::Item& other) { return one.objectID < other.objectID; });
  const auto isKey = [](const Wire::Item& item) { return item.kind == Wire::Item::Kind::Key; };
  if (std::none_of(items.begin(), items.end(), isKey)) return items;
  try {
    const PinSource nobody("");
    KeySession session(token, nobody);
    for (Wire::Item& item : items)
      if (isKey(item)) Correct(item, session);
  } catch (const Failure& failure) {
    TellUser(failure.what());
  }
  return items;
}

}  // namespace Host
