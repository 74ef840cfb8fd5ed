#include "util/QELIconv.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "util/UniqueHandle.h"

namespace QELIconv {

namespace {

constexpr size_t kMaxBufferBytes = 1024 * 1024;

struct IconvTraits {
  using Handle = iconv_t;
  static Handle Invalid() { return reinterpret_cast<Handle>(-1); }
  static void Close(Handle converter) { iconv_close(converter); }
};
using ScopedIconv = UniqueHandle<IconvTraits>;

// What this file keeps for the whole process is never destroyed: messages are converted until the last static is gone.
std::string& DefaultEncoding() {
  static auto& encoding = *new std::string("UTF-8");
  return encoding;
}

template <typename From, typename To>
ErrHandler<From, To>& DefaultErrHandler() {
  static auto& handler = *new ErrHandler<From, To>(HandleErrEscapeNewCharSafe<From, To>);
  return handler;
}

template <typename Char>
const std::string& EncodingOf() {
  if constexpr (std::is_same_v<Char, char>) {
    return DefaultEncoding();
  } else {
    static const auto& name = *new std::string("UTF-" + std::to_string(8 * sizeof(Char)) + "LE");
    return name;
  }
}

std::string Between(const std::string& from, const std::string& to) {
  return " from encoding '" + from + "' to '" + to + "' failed";
}

ScopedIconv Open(const std::string& from, const std::string& to) {
  ScopedIconv converter(iconv_open(to.c_str(), from.c_str()));
  if (!converter) throw std::runtime_error("iconv_open" + Between(from, to));
  return converter;
}

// The converter's view of a string: iconv takes its input as mutable bytes and leaves them alone.
template <typename Char>
char* Bytes(const Char* characters) {
  return const_cast<char*>(reinterpret_cast<const char*>(characters));
}

// Doubles a buffer that was too small for a single character. Returns false when it has its greatest size already.
template <typename To>
bool Grow(std::vector<To>& buffer) {
  const size_t size = std::min(2 * buffer.size(), kMaxBufferBytes / sizeof(To));
  if (size == buffer.size()) return false;
  buffer.resize(size);
  return true;
}

}  // namespace

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, const ErrHandler<From, To>& handler,
                              const std::string& fromEncoding, const std::string& toEncoding) {
  const std::string& from = fromEncoding.empty() ? EncodingOf<From>() : fromEncoding;
  const std::string& to = toEncoding.empty() ? EncodingOf<To>() : toEncoding;
  const ScopedIconv converter = Open(from, to);

  size_t remaining = input.size() * sizeof(From);
  char* position = Bytes(input.data());
  const char* const end = position + remaining;
  std::vector<To> buffer(std::min(4 * remaining, kMaxBufferBytes) / sizeof(To));
  buffer.reserve(1);  // iconv insists on a place to write, for an empty input too
  size_t written = 0;
  std::basic_string<To> result;

  // Converts as much as one buffer takes. Returns 0 when the input is exhausted, else the number of what stopped it.
  const auto pass = [&](char** bytes, size_t* count) {
    char* output = Bytes(buffer.data());
    size_t room = buffer.size() * sizeof(To);
    const bool done = iconv(converter.Get(), bytes, count, &output, &room) != static_cast<size_t>(-1);
    const int error = done ? 0 : errno;
    written = (buffer.size() * sizeof(To) - room) / sizeof(To);
    result.append(buffer.data(), written);
    return error;
  };

  pass(nullptr, nullptr);  // the converter's initial state
  while (const int error = pass(&position, &remaining)) {
    if (error == E2BIG && (written > 0 || Grow(buffer))) continue;
    if (error != EILSEQ && error != EINVAL) {
      throw std::runtime_error("iconv" + Between(from, to) + " with errno " + std::to_string(error));
    }
    auto* stoppedAt = reinterpret_cast<const From*>(position);
    result += handler(stoppedAt, remaining);
    position = Bytes(stoppedAt);
    remaining = position < end ? end - position : 0;
  }
  return result;
}

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, const std::string& fromEncoding,
                              const std::string& toEncoding) {
  return Convert<To, From>(input, GetDefaultErrHandler<From, To>(), fromEncoding, toEncoding);
}

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, ErrHandlerFunction<From, To> handler,
                              const std::string& fromEncoding, const std::string& toEncoding) {
  return Convert<To, From>(input, ErrHandler<From, To>(handler), fromEncoding, toEncoding);
}

template <typename From, typename To>
std::basic_string<To> HandleErrEscapeNewCharSafe(const From*& position, size_t remaining) {
  if (remaining == 0) return {};
  // Encodings of other widths than the type's leave the position between two characters; copying minds no alignment.
  std::make_unsigned_t<From> value;
  std::memcpy(&value, position, sizeof value);
  ++position;

  char escape[16];
  std::snprintf(escape, sizeof escape, "'\\x%lx'", static_cast<unsigned long>(value));
  return Convert<To, char>(escape, HandleErrIgnore<char, To>);
}

template <typename From, typename To>
std::basic_string<To> HandleErrIgnore(const From*& position, size_t remaining) {
  if (remaining != 0) ++position;
  return {};
}

template <typename From, typename To>
const ErrHandler<From, To>& GetDefaultErrHandler() {
  return DefaultErrHandler<From, To>();
}

template <typename From, typename To>
void SetDefaultErrHandler(const ErrHandler<From, To>& handler) {
  DefaultErrHandler<From, To>() = handler;
}

template <typename From, typename To>
void SetDefaultErrHandler(ErrHandlerFunction<From, To> handler) {
  DefaultErrHandler<From, To>() = handler;
}

std::string GetDefaultEncoding() {
  return DefaultEncoding();
}

void SetDefaultEncoding(const std::string& encoding) {
  DefaultEncoding() = encoding;
}

std::wstring MultiByte2WideChar(const std::string& text, const std::string& encoding) {
  return Convert<wchar_t, char>(text, encoding);
}

std::wstring MultiByte2WideChar(const std::string& text, const ErrHandler<char, wchar_t>& handler,
                                const std::string& encoding) {
  return Convert<wchar_t, char>(text, handler, encoding);
}

std::wstring MultiByte2WideChar(const std::string& text, ErrHandlerFunction<char, wchar_t> handler,
                                const std::string& encoding) {
  return Convert<wchar_t, char>(text, handler, encoding);
}

std::string WideChar2String(const std::wstring& text, const std::string& encoding) {
  return Convert<char, wchar_t>(text, "", encoding);
}

std::string WideChar2String(const std::wstring& text, const ErrHandler<wchar_t, char>& handler,
                            const std::string& encoding) {
  return Convert<char, wchar_t>(text, handler, "", encoding);
}

std::string WideChar2String(const std::wstring& text, ErrHandlerFunction<wchar_t, char> handler,
                            const std::string& encoding) {
  return Convert<char, wchar_t>(text, handler, "", encoding);
}

namespace Helpers {

std::wstring MultiByte2WideChar(const char* text, size_t length, const char* encoding) {
  if (text == nullptr) return MultiByte2WideChar(std::string(), encoding);
  return MultiByte2WideChar(length == 0 ? std::string(text) : std::string(text, length), encoding);
}

std::wstring MultiByte2WideChar(const std::string& text, const char* encoding) {
  return QELIconv::MultiByte2WideChar(text, std::string(encoding == nullptr ? "" : encoding));
}

std::string WideChar2String(const wchar_t* text, bool ascii) {
  return QELIconv::WideChar2String(text == nullptr ? std::wstring() : text, ascii ? "ASCII" : "UTF-8");
}

}  // namespace Helpers

namespace detail {

namespace {

template <typename From, typename To>
void InstantiatePair() {
  const ErrHandler<From, To> previous = GetDefaultErrHandler<From, To>();
  SetDefaultErrHandler<From, To>(HandleErrEscapeNewCharSafe<From, To>);
  SetDefaultErrHandler<From, To>(previous);

  const std::basic_string<From> input(1, From('a'));
  Convert<To, From>(input);
  Convert<To, From>(input, previous);
  Convert<To, From>(input, HandleErrIgnore<From, To>);

  const From* position = input.data();
  HandleErrEscapeNewCharSafe<From, To>(position, 0);
  HandleErrIgnore<From, To>(position, 0);
}

template <typename From>
void InstantiateFrom() {
  InstantiatePair<From, char>();
  InstantiatePair<From, wchar_t>();
  InstantiatePair<From, char16_t>();
  InstantiatePair<From, char32_t>();
}

}  // namespace

void EnsureTemplateInstantiation() {
  InstantiateFrom<char>();
  InstantiateFrom<wchar_t>();
  InstantiateFrom<char16_t>();
  InstantiateFrom<char32_t>();
}

}  // namespace detail

// The functions above would be enough were it not for inlining, which keeps an instantiation from being emitted.
#define QEL_INSTANTIATE_PAIR(From, To)                                                                           \
  template std::basic_string<To> Convert<To, From>(const std::basic_string<From>&, const std::string&,           \
                                                   const std::string&);                                          \
  template std::basic_string<To> Convert<To, From>(const std::basic_string<From>&, const ErrHandler<From, To>&,  \
                                                   const std::string&, const std::string&);                      \
  template std::basic_string<To> Convert<To, From>(const std::basic_string<From>&, ErrHandlerFunction<From, To>, \
                                                   const std::string&, const std::string&);                      \
  template std::basic_string<To> HandleErrEscapeNewCharSafe<From, To>(const From*&, size_t);                     \
  template std::basic_string<To> HandleErrIgnore<From, To>(const From*&, size_t);                                \
  template const ErrHandler<From, To>& GetDefaultErrHandler<From, To>();                                         \
  template void SetDefaultErrHandler<From, To>(const ErrHandler<From, To>&);                                     \
  template void SetDefaultErrHandler<From, To>(ErrHandlerFunction<From, To>);

#define QEL_INSTANTIATE_FROM(From)     \
  QEL_INSTANTIATE_PAIR(From, char)     \
  QEL_INSTANTIATE_PAIR(From, wchar_t)  \
  QEL_INSTANTIATE_PAIR(From, char16_t) \
  QEL_INSTANTIATE_PAIR(From, char32_t)

QEL_INSTANTIATE_FROM(char)
QEL_INSTANTIATE_FROM(wchar_t)
QEL_INSTANTIATE_FROM(char16_t)
QEL_INSTANTIATE_FROM(char32_t)

}  // namespace QELIconv
