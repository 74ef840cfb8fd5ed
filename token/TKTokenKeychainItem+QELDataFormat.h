#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

@interface TKTokenKeychainItem (QELDataFormat)

/// Puts the card's name for the item in front of the label that the platform derived: "name (label)", or just the name
/// when there is no label yet. Call it once: a second call nests the parentheses.
- (void)setName:(NSString *)name;

@end

NS_ASSUME_NONNULL_END
