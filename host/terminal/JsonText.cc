#include "host/terminal/JsonText.h"

#include <cstdio>

#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

std::string Unit(unsigned number) {
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", number & 0xFFFF);
  return escape;
}

/// In UTF-16, as JSON has it.
std::string Escaped(char32_t code) {
  if (code <= 0xFFFF) return Unit(code);
  const char32_t rest = code - 0x10000;
  return Unit(0xD800 + (rest >> 10)) + Unit(0xDC00 + (rest & 0x3FF));
}

}  // namespace

std::string JsonText(const nlohmann::json& value, int indent) {
  using nlohmann::json;
  const std::string plain = value.dump(indent, ' ', false, json::error_handler_t::replace);
  // Everything that is not ASCII stands in strings, where an escape may take its place.
  std::string text;
  VisitCharacters(plain, [&](const Character& character) {
    if (character.code < 0x7F || character.isHarmless) {
      text += character.bytes;
    } else {
      text += Escaped(character.code);
    }
  });
  return text;
}

}  // namespace Host
