#pragma once

#import <Foundation/Foundation.h>

/// The constraint on every operation that a key allows; CryptoTokenKit hands it back when it asks for the user's
/// authentication.
static NSString *const kPINConstraint = @"PINAlways";
