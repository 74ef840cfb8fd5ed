#include "host/keys/ItemLookup.h"

#include <algorithm>
#include <optional>

#include "host/keys/ItemNames.h"
#include "host/terminal/TerminalText.h"
#include "platform/wire/Hex.h"

namespace Host {
namespace {

constexpr char kById[] = "id:";
constexpr char kByLabel[] = "label:";

/// How a name fits an item, the best first.
enum Fit { Identifier, Label, CardLabel, None };

bool IsIdentifier(const Wire::Item& item, const std::string& name) {
  const auto bytes = Wire::FromHex(name);
  return bytes && Wire::ToHex(bytes->data(), bytes->size()) == item.objectID;
}

/// Whether `name` is `label`, also as it is shown.
bool IsLabel(const std::string& label, const std::string& name) {
  return label == name || ForTerminal(label, std::string::npos) == name;
}

/// What comes behind `prefix` in `name`; nothing when it does not begin so.
std::optional<std::string> Behind(const std::string& prefix, const std::string& name) {
  return name.rfind(prefix, 0) == 0 ? std::optional(name.substr(prefix.size())) : std::nullopt;
}

Fit LabelFitOf(const Wire::Item& item, const std::string& name) {
  if (!item.label) return None;
  if (IsLabel(*item.label, name)) return Label;
  return IsLabel(CardLabelIn(*item.label), name) ? CardLabel : None;
}

/// An identifier wins over a label: who makes a card chooses its labels.
Fit FitOf(const Wire::Item& item, const std::string& name) {
  if (const auto id = Behind(kById, name)) return IsIdentifier(item, *id) ? Identifier : None;
  if (const auto label = Behind(kByLabel, name)) return LabelFitOf(item, *label);
  return IsIdentifier(item, name) ? Identifier : LabelFitOf(item, name);
}

}  // namespace

FoundItem FindItem(const CardTokens& tokens, Wire::Item::Kind kind, const std::string& id) {
  const std::string name = kind == Wire::Item::Kind::Key ? "key" : "certificate";
  std::vector<FoundItem> found;
  Fit best = None;
  bool isOtherKind = false;
  for (const auto& token : tokens)
    for (const Wire::Item& item : token->Items()) {
      const Fit fit = FitOf(item, id);
      isOtherKind = isOtherKind || (fit != None && item.kind != kind);
      if (fit == None || item.kind != kind || fit > best) continue;
      if (fit < best) found.clear();
      best = fit;
      found.push_back({token.get(), &item});
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
