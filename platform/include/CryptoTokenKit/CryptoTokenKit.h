/// Smart-card tokens: the interface between the system's smart-card service and a token extension.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_CRYPTOTOKENKIT_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_CRYPTOTOKENKIT_H_

#import <CryptoTokenKit/TKError.h>
#import <CryptoTokenKit/TKSmartCard.h>
#import <CryptoTokenKit/TKSmartCardATR.h>
#import <CryptoTokenKit/TKSmartCardToken.h>
#import <CryptoTokenKit/TKToken.h>
#import <CryptoTokenKit/TKTokenConfiguration.h>
#import <CryptoTokenKit/TKTokenKeychainItem.h>
#import <CryptoTokenKit/TKTokenWatcher.h>

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_CRYPTOTOKENKIT_H_
