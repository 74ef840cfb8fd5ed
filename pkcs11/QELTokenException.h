#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#ifdef __OBJC__
#import <Foundation/Foundation.h>
#endif

/// The one failure type of the extension: thrown by value, caught by reference at the boundary to CryptoTokenKit.
/// Deliberately not a std::exception, so that no general handler takes it by accident.
class QELTokenException {
 public:
  /// `code` is negative and groups failures by stage, see QELTokenError. `message` is UTF-8 and is copied.
  QELTokenException(int32_t code, const char* message) : code(code), message(message) {}
  QELTokenException(int32_t code, std::string message) : code(code), message(std::move(message)) {}

#ifdef __OBJC__
  /// Returns an autoreleased error in the domain "QELToken" with this code and, when the message is valid UTF-8, the
  /// message as its localized description. Never fails.
  NSError* ToError() const;
#endif

  int32_t code;
  std::string message;
};

/// Codes of QELTokenException, by the stage that failed.
namespace QELTokenError {
inline constexpr int32_t LibraryNotFound = -1;
inline constexpr int32_t FunctionListRefused = -2;
inline constexpr int32_t InitializationFailed = -3;
inline constexpr int32_t ReaderLookup = -4;
inline constexpr int32_t OpenSession = -5;
inline constexpr int32_t ObjectAccess = -6;
inline constexpr int32_t KeyLookup = -7;
inline constexpr int32_t SessionState = -8;
inline constexpr int32_t SymbolMissing = -9;
}  // namespace QELTokenError

/// Runs `body` and returns the QELTokenException that ended it, if one did. Everything else passes through.
/// The product's one handler of that type; it stands in a plain C++ file because a C++ handler in an Objective-C++ file
/// is not entered on every runtime.
std::optional<QELTokenException> CatchTokenException(const std::function<void()>& body);

#ifdef __OBJC__
/// Runs `body`, the work of a method that CryptoTokenKit calls, and returns its result. A QELTokenException becomes the
/// zero result, with the failure in `error` unless that is null; anything else passes through.
template <typename Body>
auto AtBoundary(NSError** error, Body&& body) -> decltype(body()) {
  decltype(body()) result{};
  const auto failure = CatchTokenException([&] { result = body(); });
  if (failure && error != nullptr) *error = failure->ToError();
  return result;
}
#endif
