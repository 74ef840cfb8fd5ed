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

// What the platform's headers leave open. Ours is generous unless told otherwise; for the whole process, one test at a
// time.

@interface TKSmartCardTokenSession (QELTesting)

/// While YES, `smartCard` raises NSInternalInconsistencyException, as the real one may outside the methods of the
/// session's delegate. The extension's process sets it while an authentication finishes.
+ (void)setCardIsOutOfReach:(BOOL)outOfReach;

@end

@interface TKToken (QELDelegates)

/// NO: drivers, tokens and sessions do not become their own delegates when they are made.
+ (void)setDelegatesAreInstalled:(BOOL)installed;

@end

NS_ASSUME_NONNULL_END
