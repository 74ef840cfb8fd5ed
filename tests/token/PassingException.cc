#include "tests/token/PassingException.h"

#include <stdexcept>

std::string PassingException(const std::function<void()>& body) {
  try {
    body();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return {};
}
