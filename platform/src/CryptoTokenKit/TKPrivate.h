/// What the classes of the framework know of each other.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

/// Whether `object` becomes its own delegate: its class adopts the protocol, and no test has switched that off. By
/// name: the runtime sets up a protocol object only in files whose classes adopt it, and a test against any other copy
/// of it says no.
BOOL QELIsItsOwnDelegate(id object, NSString *protocol);

@interface TKToken (QELPrivate)
- (NSString *)instanceID;
@end

@interface TKSmartCardToken (QELPrivate)
- (TKSmartCard *)smartCard;
@end

@interface TKSmartCardSlot (QELPrivate)
/// A reader of the smart-card service, whose changes it tells.
- (instancetype)initFollowed:(NSString *)name;
@end

@interface TKTokenWatcherTokenInfo (QELPrivate)
- (instancetype)initWithTokenID:(NSString *)tokenID
                       slotName:(nullable NSString *)slotName
                     driverName:(nullable NSString *)driverName;
@end

@interface TKTokenKeychainContents (QELPrivate)
- (instancetype)initEmpty;
@end

NS_ASSUME_NONNULL_END
