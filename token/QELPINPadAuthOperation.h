#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

@class QELTokenSession;

/// Login with a PIN typed on the reader's own PIN pad.
@interface QELPINPadAuthOperation : TKTokenAuthOperation {
  QELTokenSession *m_session;
}

/// The session that asked for the login; kept alive by the operation.
@property(atomic, retain, readonly) QELTokenSession *session;

/// Retains `session`.
- (instancetype)initWithSession:(QELTokenSession *)session;

@end

NS_ASSUME_NONNULL_END
