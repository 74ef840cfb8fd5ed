#pragma once

#import <Foundation/Foundation.h>

#include "pkcs11/CatchTokenException.h"

NS_ASSUME_NONNULL_BEGIN

/// Runs `body`, the work of a method that CryptoTokenKit calls, and returns its result. A QELTokenException becomes the
/// zero result, with the failure in `error` unless that is null; anything else passes through.
template <typename Body>
auto AtBoundary(NSError* _Nullable* _Nullable error, Body&& body) -> decltype(body()) {
  decltype(body()) result{};
  const auto failure = CatchTokenException([&] { result = body(); });
  if (failure && error != nullptr) *error = failure->ToError();
  return result;
}

NS_ASSUME_NONNULL_END
