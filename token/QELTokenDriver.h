#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

/// The class that CryptoTokenKit starts: makes one token per card. Stateless; named in the bundle's Info.plist.
@interface QELTokenDriver : TKSmartCardTokenDriver <TKSmartCardTokenDriverDelegate>
@end

NS_ASSUME_NONNULL_END
