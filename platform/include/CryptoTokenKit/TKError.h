/// Errors of the framework.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKERROR_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKERROR_H_

#import <CryptoTokenKit/TKBase.h>

TK_EXTERN NSString *_Nonnull const TKErrorDomain;

typedef NS_ENUM(NSInteger, TKErrorCode) {
  TKErrorCodeNotImplemented = -1,
  TKErrorCodeCommunicationError = -2,
  TKErrorCodeCorruptedData = -3,
  TKErrorCodeCanceledByUser = -4,
  TKErrorCodeAuthenticationFailed = -5,
  TKErrorCodeObjectNotFound = -6,
  TKErrorCodeTokenNotFound = -7,
  TKErrorCodeBadParameter = -8,
  TKErrorCodeAuthenticationNeeded = -9,
};

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKERROR_H_
