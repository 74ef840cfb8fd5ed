// Conversion beside a bare iconv loop, which does the same work without our handlers and checks, and beside ICU.

#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ustring.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <vector>

#include "util/QELIconv.h"

namespace {

std::string Utf8Text(size_t bytes) {
  static const char kPiece[] =
      "The card's owner is called Zo\xC3\xAB, pays 5 \xE2\x82\xAC and locks the door \xF0\x9F\x94\x92. ";
  std::string text;
  while (text.size() + sizeof kPiece <= bytes) text += kPiece;
  return text.append(bytes - text.size(), '.');
}

const std::string& Long() {
  static const std::string text = Utf8Text(2 * 1024 * 1024);
  return text;
}

const std::string& Short() {
  static const std::string text = Utf8Text(100);
  return text;
}

/// Opens, converts slice by slice through a buffer, collects and closes; nothing but what iconv needs.
template <typename To>
std::basic_string<To> BareIconv(const std::string& input, const char* encoding) {
  const iconv_t converter = iconv_open(encoding, "UTF-8");
  std::vector<To> buffer(std::min<size_t>(4 * input.size(), 1024 * 1024) / sizeof(To));
  std::basic_string<To> result;
  char* position = const_cast<char*>(input.data());
  size_t remaining = input.size();
  bool done = false;
  while (!done) {
    char* output = reinterpret_cast<char*>(buffer.data());
    size_t room = buffer.size() * sizeof(To);
    done = iconv(converter, &position, &remaining, &output, &room) != static_cast<size_t>(-1);
    if (!done && errno != E2BIG) std::abort();
    result.append(buffer.data(), buffer.size() - room / sizeof(To));
  }
  iconv_close(converter);
  return result;
}

std::u16string Icu(const std::string& input) {
  std::u16string result(input.size(), u'\0');
  int32_t length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8(result.data(), static_cast<int32_t>(result.size()), &length, input.data(),
                static_cast<int32_t>(input.size()), &status);
  if (U_FAILURE(status)) std::abort();
  result.resize(length);
  return result;
}

template <typename Body>
void Run(benchmark::State& state, const std::string& input, Body body) {
  for (auto _ : state) benchmark::DoNotOptimize(body(input));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}

const auto kProductWide = [](const std::string& text) { return QELIconv::Convert<wchar_t, char>(text, "UTF-8"); };
const auto kProduct16 = [](const std::string& text) { return QELIconv::Convert<char16_t, char>(text, "UTF-8"); };
const auto kBareWide = [](const std::string& text) { return BareIconv<wchar_t>(text, "UTF-32LE"); };
const auto kBare16 = [](const std::string& text) { return BareIconv<char16_t>(text, "UTF-16LE"); };

BENCHMARK_CAPTURE(Run, w1, Long(), kProductWide)->Name("2 MiB of UTF-8 to wide/product");
BENCHMARK_CAPTURE(Run, w2, Long(), kBareWide)->Name("2 MiB of UTF-8 to wide/iconv");
BENCHMARK_CAPTURE(Run, u1, Long(), kProduct16)->Name("2 MiB of UTF-8 to UTF-16/product");
BENCHMARK_CAPTURE(Run, u2, Long(), kBare16)->Name("2 MiB of UTF-8 to UTF-16/iconv");
BENCHMARK_CAPTURE(Run, u3, Long(), Icu)->Name("2 MiB of UTF-8 to UTF-16/ICU");
BENCHMARK_CAPTURE(Run, s1, Short(), kProductWide)->Name("100 bytes of UTF-8 to wide/product");
BENCHMARK_CAPTURE(Run, s2, Short(), kBareWide)->Name("100 bytes of UTF-8 to wide/iconv");

}  // namespace
