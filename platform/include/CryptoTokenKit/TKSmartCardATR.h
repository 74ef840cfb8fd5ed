/// A card's answer to reset (ISO 7816-3) and the protocols it offers.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDATR_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDATR_H_

#import <CryptoTokenKit/TKBase.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_OPTIONS(NSUInteger, TKSmartCardProtocol) {
  TKSmartCardProtocolNone = 0,
  TKSmartCardProtocolT0 = (1L << 0),
  TKSmartCardProtocolT1 = (1L << 1),
  TKSmartCardProtocolT15 = (1L << 15),
  TKSmartCardProtocolAny = (1L << 16) - 1,
};

@interface TKSmartCardATR : NSObject {
  NSData *m_bytes;
}

/// Keeps a copy of `bytes`, which is not parsed.
- (nullable instancetype)initWithBytes:(NSData *)bytes;

@property(readonly, nonatomic) NSData *bytes;

/// Not modelled: raises NSInternalInconsistencyException.
@property(readonly, nonatomic) TKSmartCardProtocol protocols;

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDATR_H_
