#pragma once

#import <Foundation/Foundation.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// A zero-filled buffer of the length that a size query announced.
class CardOutput {
 public:
  /// Not usable when the announced length is no length at all; `call` then stands in an error-level log line.
  CardOutput(const char *call, CK_ULONG announced);

  /// Returns whether there is a buffer.
  bool IsUsable() const { return m_data != nil; }

  /// Returns where the card writes: never null, also for length 0, for a null buffer would make the second call another
  /// size query.
  CK_BYTE *Bytes();

  /// Returns the buffer, autoreleased and as long as announced; nil when it is not usable.
  NSMutableData *_Nullable Data() const { return m_data; }

 private:
  NSMutableData *_Nullable m_data;
  CK_BYTE m_none = 0;
};

NS_ASSUME_NONNULL_END
