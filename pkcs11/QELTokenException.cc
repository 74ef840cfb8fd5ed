#include "pkcs11/QELTokenException.h"

std::optional<QELTokenException> CatchTokenException(const std::function<void()>& body) {
  try {
    body();
  } catch (const QELTokenException& failure) {
    return failure;
  }
  return std::nullopt;
}
