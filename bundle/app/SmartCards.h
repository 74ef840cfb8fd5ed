#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

#include "bundle/app/Extern.h"

/// A token that the system knows.
@interface QELKnownToken : NSObject {
  NSString *m_tokenID;
  NSString *m_driver;
  BOOL m_ours;
  NSArray *m_certificates;
}

@property(readonly, nonatomic) NSString *tokenID;      ///< fit to be shown
@property(readonly, nonatomic) NSString *driver;       ///< the driver's name or identifier, fit to be shown
@property(readonly, nonatomic) BOOL isOurs;            ///< made by this app's extension
@property(readonly, nonatomic) NSArray *certificates;  ///< of QELPublishedCertificate

@end

/// A reader that the system knows, or that the token of its card tells of.
@interface QELKnownReader : NSObject {
  NSString *m_name;
  TKSmartCardSlotState m_state;
  NSMutableArray *m_tokens;
}

@property(readonly, nonatomic) NSString *name;              ///< fit to be shown; empty when the system does not tell it
@property(readonly, nonatomic) TKSmartCardSlotState state;  ///< a valid card for a reader that a token tells of
@property(readonly, nonatomic) NSArray *tokens;             ///< of QELKnownToken

@end

/// The readers of the system with the tokens of their cards. Without a `manager` (the system tells readers to entitled
/// programs only) those that tokens tell of. `identifier` is that of the extension whose tokens are ours.
QEL_APP_EXTERN NSArray *QELKnownReaders(TKTokenWatcher *watcher, TKSmartCardSlotManager *manager, NSString *identifier);
