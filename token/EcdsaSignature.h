#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// Returns the X9.62 form, a DER SEQUENCE of two INTEGERs, of a raw signature r||s; nil when the platform's coder
/// refuses. The halves are split by integer division.
NSMutableData *_Nullable DerFromRawEcdsaSignature(NSData *signature);

NS_ASSUME_NONNULL_END
