#pragma once

#include <functional>
#include <string>

/// Runs `body` and returns the text of the std::runtime_error that left it, or nothing. Plain C++, because a C++
/// handler in an Objective-C++ file is not entered on every runtime.
std::string PassingException(const std::function<void()>& body);
