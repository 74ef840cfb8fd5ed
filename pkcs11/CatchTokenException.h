#pragma once

#include <functional>
#include <optional>

#include "pkcs11/QELTokenException.h"

/// Runs `body` and returns the QELTokenException that ended it, if one did. Everything else passes through.
/// The product's one handler of that type; it stands in a plain C++ file because a C++ handler in an Objective-C++ file
/// is not entered on every runtime.
std::optional<QELTokenException> CatchTokenException(const std::function<void()>& body);
