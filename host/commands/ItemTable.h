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
  std::string type;   ///< "RSA-2048"; of a certificate that is not valid now: why not
  std::string can;    ///< "sign decrypt agree login", as far as the key can; empty for a certificate
  std::string pin;    ///< "yes" when the key's use needs a login, "no" when it needs none; empty for a certificate
};

ItemRow RowOf(const Wire::Item& item);
std::vector<ItemRow> RowsOf(const std::vector<Wire::Item>& items);

/// A table of items.
struct ItemTable {
  std::string heading;  ///< empty when each item stands in lines of its own
  std::vector<std::string> lines;
};

/// Lays `rows` out in `columns` columns, nothing left out: long labels go on in the next line, and where there is no
/// room for columns beside each other, an item's parts stand below each other.
ItemTable LayOut(const std::vector<ItemRow>& rows, size_t columns);

}  // namespace Host
