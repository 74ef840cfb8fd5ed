#pragma once

#import <Foundation/Foundation.h>

/// Returns the X9.62 form, a DER SEQUENCE of two INTEGERs, of a raw signature r||s; nil when the platform's coder
/// refuses. The halves are split by integer division.
NSMutableData *DerFromRawEcdsaSignature(NSData *signature);
