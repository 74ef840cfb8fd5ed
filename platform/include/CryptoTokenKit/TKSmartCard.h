/// Readers and the cards in them.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARD_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARD_H_

#import <CryptoTokenKit/TKBase.h>
#import <CryptoTokenKit/TKSmartCardATR.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, TKSmartCardSlotState) {
  TKSmartCardSlotStateMissing = 0,
  TKSmartCardSlotStateEmpty = 1,
  TKSmartCardSlotStateProbing = 2,
  TKSmartCardSlotStateMuteCard = 3,
  TKSmartCardSlotStateValidCard = 4,
};

typedef NS_ENUM(NSInteger, TKSmartCardPINCharset) {
  TKSmartCardPINCharsetNumeric = 0,
  TKSmartCardPINCharsetAlphanumeric = 1,
  TKSmartCardPINCharsetUpperAlphanumeric = 2,
};

typedef NS_ENUM(NSInteger, TKSmartCardPINEncoding) {
  TKSmartCardPINEncodingBinary = 0,
  TKSmartCardPINEncodingASCII = 1,
  TKSmartCardPINEncodingBCD = 2,
};

typedef NS_ENUM(NSInteger, TKSmartCardPINJustification) {
  TKSmartCardPINJustificationLeft = 0,
  TKSmartCardPINJustificationRight = 1,
};

@class TKSmartCard;

@class TKSmartCardSlot;

/// The readers of the machine.
@interface TKSmartCardSlotManager : NSObject {
  NSArray *m_slotNames;
}

/// Nil in a process that was not told of a smart-card service, as for one without the smart-card entitlement.
+ (nullable TKSmartCardSlotManager *)defaultManager;

/// Observable; changes on the main thread, while its run loop runs.
@property(readonly) NSArray<NSString *> *slotNames;

/// Returns nil when there is no such reader.
- (nullable TKSmartCardSlot *)slotNamed:(NSString *)name;

@end

/// A reader.
@interface TKSmartCardSlot : NSObject {
  NSString *m_name;
  TKSmartCardSlotState m_state;
}

@property(nonatomic, readonly) NSString *name;

/// Observable for a reader of the reader manager, as its list of names is; missing for any other.
@property(readonly) TKSmartCardSlotState state;

/// Not modelled, each raises NSInternalInconsistencyException: nothing here talks to a card but the PKCS#11 library.
@property(readonly, nullable) TKSmartCardATR *ATR;
@property(nonatomic, readonly) NSInteger maxInputLength;
@property(nonatomic, readonly) NSInteger maxOutputLength;
- (nullable TKSmartCard *)makeSmartCard;

@end

/// A card in a reader.
@interface TKSmartCard : NSObject {
  TKSmartCardSlot *m_slot;
  BOOL m_sensitive;
  id m_context;
}

@property(nonatomic, readonly) TKSmartCardSlot *slot;

/// Whether the card is reset before another user of it. Stored, nothing follows from it here. Starts as NO.
@property(assign) BOOL sensitive;

/// An object that lives as long as the card stays as it is. Stored until replaced. Starts as nil.
@property(retain, nullable) id context;

/// Not modelled, each raises NSInternalInconsistencyException.
@property(readonly) BOOL valid;
@property(assign) TKSmartCardProtocol allowedProtocols;
@property(readonly) TKSmartCardProtocol currentProtocol;
- (void)endSession;

@end

/// How a PIN is entered and put into a command. Starts with the system's defaults.
@interface TKSmartCardPINFormat : NSObject {
  TKSmartCardPINCharset m_charset;
  TKSmartCardPINEncoding m_encoding;
  NSInteger m_minPINLength;
  NSInteger m_maxPINLength;
  NSInteger m_PINBlockByteLength;
  TKSmartCardPINJustification m_PINJustification;
  NSInteger m_PINBitOffset;
  NSInteger m_PINLengthBitOffset;
  NSInteger m_PINLengthBitSize;
}

@property(assign) TKSmartCardPINCharset charset;                 ///< starts as numeric
@property(assign) TKSmartCardPINEncoding encoding;               ///< starts as ASCII
@property(assign) NSInteger minPINLength;                        ///< starts as 4
@property(assign) NSInteger maxPINLength;                        ///< starts as 8
@property(assign) NSInteger PINBlockByteLength;                  ///< starts as 8
@property(assign) TKSmartCardPINJustification PINJustification;  ///< starts as left
@property(assign) NSInteger PINBitOffset;
@property(assign) NSInteger PINLengthBitOffset;
@property(assign) NSInteger PINLengthBitSize;

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARD_H_
