#pragma once

#import <Foundation/Foundation.h>

#include <vector>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// The UTF-8 bytes of a PIN, in a buffer of its own that is overwritten when the scope is left. UTF8String would leave
/// copies in memory that Foundation frees without overwriting.
class PinBytes {
 public:
  /// Holds exactly the bytes of `PIN`, up to its first zero byte; none when it is nil or cannot be written in UTF-8.
  explicit PinBytes(NSString *_Nullable PIN);
  ~PinBytes();

  PinBytes(const PinBytes &) = delete;
  PinBytes &operator=(const PinBytes &) = delete;

  /// Returns the bytes; null only when there is no PIN: an empty PIN has bytes to point to.
  CK_UTF8CHAR *_Nullable Data() { return m_bytes.empty() ? nullptr : m_bytes.data(); }

  /// Returns the number of bytes.
  CK_ULONG Length() const { return m_length; }

 private:
  std::vector<CK_UTF8CHAR> m_bytes;
  CK_ULONG m_length = 0;
};

NS_ASSUME_NONNULL_END
