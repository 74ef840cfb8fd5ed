/// What the classes of the framework know of each other.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

/// Whether `object`'s class adopts the protocol. By name: the runtime sets up a protocol object only in files whose
/// classes adopt it, and a test against any other copy of it says no.
static inline BOOL QELAdopts(id object, NSString *protocol) {
  return [object conformsToProtocol:NSProtocolFromString(protocol)];
}

@interface TKToken (QELPrivate)
- (NSString *)instanceID;
@end

@interface TKSmartCardToken (QELPrivate)
- (TKSmartCard *)smartCard;
@end

@interface TKTokenKeychainContents (QELPrivate)
- (instancetype)initEmpty;
@end

NS_ASSUME_NONNULL_END
