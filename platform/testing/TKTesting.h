/// What the host and tests may do and an extension cannot: make readers, cards and the parameters of requests.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

@interface TKSmartCardSlot (QELTesting)

/// A reader of that name.
+ (TKSmartCardSlot *)slotWithName:(NSString *)name;

@end

/// What a login sets is read back through the card's own `sensitive` and `context`.
@interface TKSmartCard (QELTesting)

/// The card in `slot`, which is retained.
- (instancetype)initWithSlot:(TKSmartCardSlot *)slot;

@end

@interface TKTokenKeyAlgorithm (QELTesting)

/// The algorithms of a request in the order of the conversions; the data is in the form of the last.
- (instancetype)initWithAlgorithms:(NSArray<NSString *> *)algorithms;

@end

@interface TKTokenKeyExchangeParameters (QELTesting)

- (instancetype)initWithRequestedSize:(NSInteger)requestedSize sharedInfo:(nullable NSData *)sharedInfo;

@end

@interface TKToken (QELTesting)

/// The instance identifier that the token was made with.
@property(readonly) NSString *instanceID;

@end

NS_ASSUME_NONNULL_END
