#pragma once

#import <Foundation/Foundation.h>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// Returns the text of a PKCS#11 field of `length` bytes, which is padded and not terminated (PKCS#11 2.40 section 3),
/// without blanks and tabs at both ends; nil when the bytes are no text in `encoding`.
NSString *_Nullable TextOfPaddedField(const CK_UTF8CHAR *field, size_t length, NSStringEncoding encoding);

NS_ASSUME_NONNULL_END
