#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// Conversion of strings between encodings and between char, wchar_t, char16_t and char32_t, by the platform's iconv.
/// Every function template here exists for the sixteen ordered pairs of these types and no others.
///
/// An empty encoding name means the character type's own: the default narrow encoding for char, "UTF-32LE" for wchar_t
/// and char32_t, "UTF-16LE" for char16_t. Conversions may run on any thread; the default encoding and the default
/// handlers are replaced without a lock, before other threads convert.
namespace QELIconv {

/// Decides what stands for input that cannot be converted. Advances `position`, at least by one character while
/// `remaining` is not 0, past what it consumed, and returns the replacement. `remaining` counts bytes, whatever `From`
/// is; stays so.
template <typename From, typename To>
using ErrHandler = std::function<std::basic_string<To>(const From*& position, size_t remaining)>;

/// The same as a plain function. A lambda without captures fits both types: write +[] or name the type.
template <typename From, typename To>
using ErrHandlerFunction = std::basic_string<To> (*)(const From*& position, size_t remaining);

/// Returns `input` converted from one encoding to the other; the pair's default handler decides about invalid input.
/// Throws std::runtime_error when there is no converter for the encodings or the conversion breaks off unexpectedly.
template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, const std::string& fromEncoding = "",
                              const std::string& toEncoding = "");

/// The same with a handler; an empty one throws std::bad_function_call when it is needed.
template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, const ErrHandler<From, To>& handler,
                              const std::string& fromEncoding = "", const std::string& toEncoding = "");

/// The same with a plain function as the handler.
template <typename To, typename From>
std::basic_string<To> Convert(const std::basic_string<From>& input, ErrHandlerFunction<From, To> handler,
                              const std::string& fromEncoding = "", const std::string& toEncoding = "");

/// Handler: consumes one character and returns its value as '\xc3', quotes included, in the target type's encoding. The
/// escape itself is converted with HandleErrIgnore and so cannot need escaping again. Throws as Convert does.
template <typename From, typename To>
std::basic_string<To> HandleErrEscapeNewCharSafe(const From*& position, size_t remaining);

/// Handler: consumes one character and returns nothing.
template <typename From, typename To>
std::basic_string<To> HandleErrIgnore(const From*& position, size_t remaining);

/// Returns the pair's default handler: HandleErrEscapeNewCharSafe until it is replaced.
template <typename From, typename To>
const ErrHandler<From, To>& GetDefaultErrHandler();

/// Replaces the pair's default handler.
template <typename From, typename To>
void SetDefaultErrHandler(const ErrHandler<From, To>& handler);
template <typename From, typename To>
void SetDefaultErrHandler(ErrHandlerFunction<From, To> handler);

/// Returns the default narrow encoding: "UTF-8" until it is replaced.
std::string GetDefaultEncoding();

/// Replaces the default narrow encoding, which every later call with an empty name for a char string uses.
void SetDefaultEncoding(const std::string& encoding);

/// Returns `text` as a wide string. Throws as Convert does; a null function stands for an empty handler.
std::wstring MultiByte2WideChar(const std::string& text, const std::string& encoding = "");
std::wstring MultiByte2WideChar(const std::string& text, const ErrHandler<char, wchar_t>& handler,
                                const std::string& encoding = "");
std::wstring MultiByte2WideChar(const std::string& text, ErrHandlerFunction<char, wchar_t> handler,
                                const std::string& encoding = "");

/// Returns the wide `text` as a narrow string in `encoding`. Throws as Convert does.
std::string WideChar2String(const std::wstring& text, const std::string& encoding = "");
std::string WideChar2String(const std::wstring& text, const ErrHandler<wchar_t, char>& handler,
                            const std::string& encoding = "");
std::string WideChar2String(const std::wstring& text, ErrHandlerFunction<wchar_t, char> handler,
                            const std::string& encoding = "");

/// The same for callers that hold pointers; a null encoding is an empty one.
namespace Helpers {

/// `text` may be null, which is empty; `length` counts bytes, 0 means up to the terminating NUL.
std::wstring MultiByte2WideChar(const char* text, size_t length, const char* encoding);
std::wstring MultiByte2WideChar(const std::string& text, const char* encoding);

/// `text` may be null, which is empty. Returns ASCII with everything else escaped, or UTF-8.
std::string WideChar2String(const wchar_t* text, bool ascii);

}  // namespace Helpers

namespace detail {

/// Calls each function of each pair once, so that all of them exist. Changes nothing.
void EnsureTemplateInstantiation();

}  // namespace detail

}  // namespace QELIconv
