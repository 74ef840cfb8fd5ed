#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

/// The class that CryptoTokenKit starts: makes one token per card. Stateless; named in the bundle's Info.plist.
@interface QELTokenDriver : TKSmartCardTokenDriver <TKSmartCardTokenDriverDelegate>
@end
