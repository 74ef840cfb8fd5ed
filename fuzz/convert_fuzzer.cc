// Convert for every pair of character types, with arbitrary bytes and encodings.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "fuzz/Encodings.h"
#include "util/QELIconv.h"

namespace {

using QELIconv::Convert;

template <typename From>
std::basic_string<From> Characters(const std::string& bytes) {
  std::basic_string<From> text(bytes.size() / sizeof(From), From());
  std::copy_n(bytes.data(), text.size() * sizeof(From), reinterpret_cast<char*>(text.data()));
  return text;
}

template <typename From, typename To>
void ConvertPair(const std::string& bytes, const std::string& fromEncoding, const std::string& toEncoding) {
  const auto text = Characters<From>(bytes);

  // In the types' own encodings the result is well formed whatever went in, and so survives the way back.
  const auto result = Convert<To, From>(text);
  if (Convert<To, From>(Convert<From, To>(result)) != result) std::abort();

  size_t last = SIZE_MAX;
  const QELIconv::ErrHandler<From, To> counting = [&](const From*& position, size_t remaining) {
    if (remaining > text.size() * sizeof(From) || remaining > last) std::abort();
    last = remaining;
    return QELIconv::HandleErrIgnore<From, To>(position, remaining);
  };
  try {
    Convert<To, From>(text, fromEncoding, toEncoding);
    Convert<To, From>(text, counting, fromEncoding, toEncoding);
  } catch (const std::runtime_error&) {  // no such encoding
  }
}

template <typename From>
void ConvertFrom(int to, const std::string& bytes, const std::string& fromEncoding, const std::string& toEncoding) {
  switch (to) {
    case 0:
      return ConvertPair<From, char>(bytes, fromEncoding, toEncoding);
    case 1:
      return ConvertPair<From, wchar_t>(bytes, fromEncoding, toEncoding);
    case 2:
      return ConvertPair<From, char16_t>(bytes, fromEncoding, toEncoding);
    default:
      return ConvertPair<From, char32_t>(bytes, fromEncoding, toEncoding);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const int from = input.ConsumeIntegralInRange(0, 3);
  const int to = input.ConsumeIntegralInRange(0, 3);
  const std::string fromEncoding = AnyEncoding(input);
  const std::string toEncoding = AnyEncoding(input);
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  switch (from) {
    case 0:
      ConvertFrom<char>(to, bytes, fromEncoding, toEncoding);
      break;
    case 1:
      ConvertFrom<wchar_t>(to, bytes, fromEncoding, toEncoding);
      break;
    case 2:
      ConvertFrom<char16_t>(to, bytes, fromEncoding, toEncoding);
      break;
    default:
      ConvertFrom<char32_t>(to, bytes, fromEncoding, toEncoding);
      break;
  }
  return 0;
}
