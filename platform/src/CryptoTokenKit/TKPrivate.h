/// What the classes of the framework know of each other.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

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
