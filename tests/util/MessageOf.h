#pragma once

#include <functional>
#include <stdexcept>
#include <string>

/// The text of the std::runtime_error that `body` throws.
inline std::string MessageOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "nothing was thrown";
}
