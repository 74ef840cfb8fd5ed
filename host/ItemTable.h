#pragma once

#include <string>
#include <vector>

#include "platform/wire/Client.h"

namespace Host {

/// An item as people see it: safe for a terminal, not cut.
struct ItemRow {
  std::string kind;   ///< "cert" or "key"
  std::string id;     ///< what --key and --certificate take
  std::string label;  ///< "(none)" without one
  std::string type;   ///< "RSA-2048"; empty for a certificate
  std::string can;    ///< "sign decrypt agree login", as far as the key can; empty for a certificate
  std::string pin;    ///< "yes" when the key's use needs a login, "no" when it needs none; empty for a certificate
};

ItemRow RowOf(const Wire::Item& item);
std::vector<ItemRow> RowsOf(const std::vector<Wire::Item>& items);

/// What a key can do, in the words of `list`.
std::vector<std::string> CapabilitiesOf(const Wire::Item& key);
/// "RSA-2048", "EC P-256".
std::string KeyTypeName(const Wire::Item& key);

/// A table of items.
struct ItemTable {
  std::string heading;
  std::vector<std::string> lines;  ///< one for each item
  std::string hidden;              ///< the headings of the columns that it has no room for; empty when it shows all
};

/// Lays `rows` out in `columns` columns. Labels are cut first, where something stands beside them, then columns left
/// out from the right. Identifiers are always whole: one that is too long for the rest makes a longer line.
ItemTable LayOut(const std::vector<ItemRow>& rows, size_t columns);

}  // namespace Host
