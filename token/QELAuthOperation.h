#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

@class QELTokenSession;

/// Login with a PIN typed on the computer: CryptoTokenKit asks for it and stores it in PIN before it calls
/// finishWithError:.
@interface QELAuthOperation : TKTokenSmartCardPINAuthOperation {
  QELTokenSession *m_session;
}

/// The session that asked for the login; kept alive by the operation.
@property(atomic, retain, readonly) QELTokenSession *session;

/// Retains `session`. The PIN is not sent to the card by CryptoTokenKit: APDUTemplate stays nil and the login goes
/// through PKCS#11.
- (instancetype)initWithSession:(QELTokenSession *)session;

@end

NS_ASSUME_NONNULL_END
