#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Wire {

/// Lower-case hexadecimal text.
std::string ToHex(const uint8_t* bytes, size_t length);

/// Returns nothing for an odd number of characters and for others than hexadecimal digits.
std::optional<std::vector<uint8_t>> FromHex(std::string_view text);

}  // namespace Wire
