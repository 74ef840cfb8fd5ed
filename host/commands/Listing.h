/// What `ctkhost readers` and `ctkhost list` print.

#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/keys/ItemLookup.h"
#include "host/readers/Readers.h"
#include "host/terminal/TerminalText.h"

namespace Host {

/// Lines of at most the page's columns, nothing cut. A token is a heading and a row for each item.
std::string ReadersText(const std::vector<Reader>& readers, const Page& page = {});
std::string TokenText(const std::string& reader, const std::string& instanceID, const std::vector<Wire::Item>& items,
                      const Page& page = {});

/// The same for programs, and what a certificate says of itself.
nlohmann::json ReadersJson(const std::vector<Reader>& readers);
nlohmann::json TokenJson(const std::string& reader, const std::string& instanceID,
                         const std::vector<Wire::Item>& items);

}  // namespace Host
