#pragma once

#import <Foundation/Foundation.h>

#include <vector>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

@interface NSData (QELAditions)

/// Returns an immutable copy of the bytes, empty for an empty vector.
+ (NSData *)dataWithByteArray:(const std::vector<CK_BYTE> &)bytes;

@end

NS_ASSUME_NONNULL_END
