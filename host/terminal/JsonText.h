#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Host {

/// `value` as JSON text, indented by `indent` columns or, for -1, in one line. What would control a terminal that shows
/// it, or turn the direction of writing there, stands as \uXXXX; what is not UTF-8 is replaced.
std::string JsonText(const nlohmann::json& value, int indent = -1);

}  // namespace Host
