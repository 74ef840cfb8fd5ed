#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "pkcs11/QELTokenException.h"

/// Compares what CatchTokenException returned. Works in Objective-C++, where EXPECT_THROW does not.
inline ::testing::AssertionResult IsFailure(const std::optional<QELTokenException>& failure, int32_t code,
                                            const std::string& message) {
  if (!failure) return ::testing::AssertionFailure() << "no failure";
  if (failure->code == code && failure->message == message) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << failure->code << " \"" << failure->message << "\"";
}
