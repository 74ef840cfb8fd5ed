#pragma once

#include "bundle/app/Extern.h"
#import "bundle/app/Registration.h"
#import "bundle/app/SmartCards.h"

/// What the app knows at one moment.
@interface QELStatus : NSObject {
  NSString *m_identifier;
  QELRegistration m_registration;
  BOOL m_pinDialogMissing;
  BOOL m_readersKnown;
  NSArray *m_readers;
}

@property(readonly, nonatomic) NSString *identifier;  ///< of the extension; nil when this copy of the app has none
@property(readonly, nonatomic) QELRegistration registration;
@property(readonly, nonatomic) BOOL isPinDialogMissing;  ///< the maker's library for it: no card works
@property(readonly, nonatomic) BOOL readersKnown;        ///< NO: `readers` are those that tokens tell of
@property(readonly, nonatomic) NSArray *readers;         ///< of QELKnownReader

/// Asks the system. `manager` is nil when it tells this program no readers.
- (instancetype)initWithWatcher:(TKTokenWatcher *)watcher manager:(TKSmartCardSlotManager *)manager;

/// The same for programs to read: dictionaries, arrays, texts, numbers and nulls, names in English.
- (NSDictionary *)describedAt:(NSDate *)now;

@end

/// "2026-11-22T06:00:00Z".
QEL_APP_EXTERN NSString *QELTimeText(NSDate *date);
