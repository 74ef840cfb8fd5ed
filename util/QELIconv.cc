#include "util/QELIconv.h"

#include <cstdio>
#include <cstring>
#include <type_traits>
#include <utility>

#include "util/Converter.h"

namespace QELIconv {

namespace {

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

// The converter's view of a string: iconv takes its input as mutable bytes and leaves them alone.
template <typename Char>
char* Bytes(const Char* characters) {
  return const_cast<char*>(reinterpret_cast<const char*>(characters));
}

/// Puts characters together from bytes, in whatever portions they come.
template <typename Char>
class Characters {
 public:
  /// Keeps what is only the beginning of a character until its other bytes come.
  void Append(const char* bytes, size_t count) {
    m_text.resize((m_bytes + count + sizeof(Char) - 1) / sizeof(Char));
    std::memcpy(Bytes(m_text.data()) + m_bytes, bytes, count);
    m_bytes += count;
  }

  /// Forgets the beginning of a character that never got its end, and appends `text`.
  void Append(const std::basic_string<Char>& text) {
    Finish() += text;
    m_bytes = m_text.size() * sizeof(Char);
  }

  /// Returns the text, without the beginning of a character.
  std::basic_string<Char>& Finish() {
    m_text.resize(m_bytes / sizeof(Char));
    return m_text;
  }

  Converter::Sink Sink() {
    return [this](const char* bytes, size_t count) { Append(bytes, count); };
  }

 private:
  std::basic_string<Char> m_text;
  size_t m_bytes = 0;
};

}  // namespace

template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, const ErrHandler<From, To>& handler,
                              const std::string& fromEncoding, const std::string& toEncoding) {
  Converter::Input left{Bytes(input.data()), input.size() * sizeof(From)};
  const char* const end = left.position + left.count;
  Converter converter(fromEncoding.empty() ? EncodingOf<From>() : fromEncoding,
                      toEncoding.empty() ? EncodingOf<To>() : toEncoding, left.count);
  Characters<To> whole;
  if (converter.ConvertAll(left, whole.Sink())) return std::move(whole.Finish());

  Characters<To> result;
  while (!converter.ConvertSome(left, result.Sink())) {
    auto* stoppedAt = reinterpret_cast<const From*>(left.position);
    result.Append(handler(stoppedAt, left.count));
    left.position = Bytes(stoppedAt);
    left.count = left.position < end ? end - left.position : 0;
  }
  return std::move(result.Finish());
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
