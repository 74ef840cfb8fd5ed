/// What `ctkhost readers` and `ctkhost list` print.

#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/ItemLookup.h"
#include "host/Readers.h"

namespace Host {

/// Lines of at most 80 columns; only an identifier that is longer than that makes a longer one. Characters of a label
/// that would control a terminal are shown as '?'.
std::string ReadersText(const std::vector<Reader>& readers);
std::string TokenText(const std::string& reader, const std::string& instanceID, const std::vector<Wire::Item>& items);

/// The same for programs, nothing cut.
nlohmann::json ReadersJson(const std::vector<Reader>& readers);
nlohmann::json TokenJson(const std::string& reader, const std::string& instanceID,
                         const std::vector<Wire::Item>& items);

/// `text`, made safe for a terminal and cut to `columns` characters.
std::string ForTerminal(const std::string& text, size_t columns);

}  // namespace Host
