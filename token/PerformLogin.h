#pragma once

#include <vector>

#import "token/QELTokenSession.h"

NS_ASSUME_NONNULL_BEGIN

/// The UTF-8 bytes of a PIN, in a buffer of its own that is overwritten when the scope is left. UTF8String would leave
/// copies in memory that Foundation frees without overwriting.
class PinBytes {
 public:
  /// Holds exactly the bytes of `PIN`, up to its first zero byte. Text that cannot be written in UTF-8 is an empty PIN.
  explicit PinBytes(NSString *_Nullable PIN);
  ~PinBytes();

  PinBytes(const PinBytes &) = delete;
  PinBytes &operator=(const PinBytes &) = delete;

  /// Returns the bytes; null only for a nil PIN, which asks the reader for the PIN: an empty one has bytes to point to.
  CK_UTF8CHAR *_Nullable Data() { return m_bytes.empty() ? nullptr : m_bytes.data(); }

  /// Returns the number of bytes.
  CK_ULONG Length() const { return m_length; }

 private:
  std::vector<CK_UTF8CHAR> m_bytes;
  CK_ULONG m_length = 0;
};

/// Logs the user in on the session's current pair with exactly the UTF-8 bytes of `PIN`, or, when that is nil, with the
/// PIN that the reader collects while its dialog is shown. Blocks until the card answers. Returns YES when the user is
/// logged in now; the card connection is then marked sensitive. Returns NO otherwise, with an error only for the
/// results that have one.
BOOL performLogin(QELTokenSession *session, NSString *_Nullable PIN, NSError *_Nullable *_Nullable error);

NS_ASSUME_NONNULL_END
