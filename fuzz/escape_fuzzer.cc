// The escape handler for every pair of character types, with arbitrary characters and default narrow encodings.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "fuzz/Encodings.h"
#include "util/QELIconv.h"

namespace {

template <typename From, typename To>
void EscapePair(uint32_t value, bool empty) {
  const From character = static_cast<From>(value);
  const From* position = &character;
  const auto escape = QELIconv::HandleErrEscapeNewCharSafe<From, To>(position, empty ? 0 : sizeof(From));
  if (position != &character + (empty ? 0 : 1)) std::abort();
  if (QELIconv::GetDefaultEncoding() != "UTF-8") return;  // the digits may look different elsewhere

  std::ostringstream expected;
  if (!empty) expected << "'\\x" << std::hex << static_cast<uint32_t>(std::make_unsigned_t<From>(character)) << "'";
  const std::string text = expected.str();
  if (escape != std::basic_string<To>(text.begin(), text.end())) std::abort();
}

template <typename From>
void EscapeFrom(uint32_t value, bool empty) {
  EscapePair<From, char>(value, empty);
  EscapePair<From, wchar_t>(value, empty);
  EscapePair<From, char16_t>(value, empty);
  EscapePair<From, char32_t>(value, empty);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const auto value = input.ConsumeIntegral<uint32_t>();
  const bool empty = input.ConsumeBool();
  const std::string encoding = AnyEncoding(input);
  QELIconv::SetDefaultEncoding(encoding.empty() ? "UTF-8" : encoding);
  try {
    EscapeFrom<char>(value, empty);
    EscapeFrom<wchar_t>(value, empty);
    EscapeFrom<char16_t>(value, empty);
    EscapeFrom<char32_t>(value, empty);
  } catch (const std::runtime_error&) {  // no such encoding
  }
  QELIconv::SetDefaultEncoding("UTF-8");
  return 0;
}
