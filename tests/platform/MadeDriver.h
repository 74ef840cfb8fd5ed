#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

/// A driver for tests that are not about it; autoreleased.
inline TKSmartCardTokenDriver *MadeDriver() {
  return [[[TKSmartCardTokenDriver alloc] init] autorelease];
}
