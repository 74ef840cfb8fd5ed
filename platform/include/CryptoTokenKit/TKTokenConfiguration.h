/// Persistent tokens, which a smart-card extension does not have.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENCONFIGURATION_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENCONFIGURATION_H_

#import <CryptoTokenKit/TKBase.h>

@class TKTokenDriverConfiguration;
@class TKTokenConfiguration;

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENCONFIGURATION_H_
