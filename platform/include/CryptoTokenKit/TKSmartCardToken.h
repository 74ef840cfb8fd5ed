/// Tokens that are smart cards.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDTOKEN_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDTOKEN_H_

#import <CryptoTokenKit/TKSmartCard.h>
#import <CryptoTokenKit/TKToken.h>

NS_ASSUME_NONNULL_BEGIN

@class TKSmartCardTokenDriver;

/// An authentication by a PIN that the system asks the user for.
@interface TKTokenSmartCardPINAuthOperation : TKTokenAuthOperation {
  TKSmartCardPINFormat *m_PINFormat;
  NSData *m_APDUTemplate;
  NSInteger m_PINByteOffset;
  TKSmartCard *m_smartCard;
  NSString *m_PIN;
}

@property(retain) TKSmartCardPINFormat *PINFormat;  ///< starts as a default format
@property(nullable, copy) NSData *APDUTemplate;     ///< starts as nil: the system sends the card nothing
@property(assign) NSInteger PINByteOffset;
@property(retain, nullable) TKSmartCard *smartCard;
@property(nullable, copy) NSString *PIN;  ///< set before the operation is finished

@end

@interface TKSmartCardTokenSession : TKTokenSession

/// The card of the session's token. Raises NSInternalInconsistencyException when that token is not of a smart card.
@property(readonly) TKSmartCard *smartCard;

@end

@interface TKSmartCardToken : TKToken {
  TKSmartCard *m_smartCard;
  NSData *m_AID;
}

/// Retains `smartCard` and `tokenDriver`.
- (instancetype)initWithSmartCard:(TKSmartCard *)smartCard
                              AID:(nullable NSData *)AID
                       instanceID:(NSString *)instanceID
                      tokenDriver:(TKSmartCardTokenDriver *)tokenDriver NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithTokenDriver:(TKTokenDriver *)tokenDriver instanceID:(NSString *)instanceID TK_UNAVAILABLE;

@property(readonly, nullable) NSData *AID;

@end

@interface TKSmartCardTokenDriver : TKTokenDriver
@end

@protocol TKSmartCardTokenDriverDelegate <TKTokenDriverDelegate>

- (nullable TKSmartCardToken *)tokenDriver:(TKSmartCardTokenDriver *)driver
                   createTokenForSmartCard:(TKSmartCard *)smartCard
                                       AID:(nullable NSData *)AID
                                     error:(NSError **)error;

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKSMARTCARDTOKEN_H_
