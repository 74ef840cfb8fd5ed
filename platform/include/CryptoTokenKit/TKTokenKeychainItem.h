/// The items that a token shows in the keychain.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENKEYCHAINITEM_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENKEYCHAINITEM_H_

#import <CryptoTokenKit/TKToken.h>

NS_ASSUME_NONNULL_BEGIN

@interface TKTokenKeychainItem : NSObject {
  TKTokenObjectID m_objectID;
  NSString *m_label;
  NSDictionary<NSNumber *, TKTokenOperationConstraint> *m_constraints;
}

/// Copies `objectID`.
- (instancetype)initWithObjectID:(TKTokenObjectID)objectID NS_DESIGNATED_INITIALIZER;
- (instancetype)init TK_UNAVAILABLE;

@property(readonly, copy) TKTokenObjectID objectID;
@property(nullable, copy) NSString *label;

/// What an operation (TKTokenOperation) asks for: YES for always, NO for never, or what the session understands.
@property(nullable, copy) NSDictionary<NSNumber *, TKTokenOperationConstraint> *constraints;

@end

@interface TKTokenKeychainCertificate : TKTokenKeychainItem {
  NSData *m_data;
}

/// Takes label and data from the certificate; reading is allowed, nothing else is. Keeps no reference to it.
- (nullable instancetype)initWithCertificate:(SecCertificateRef)certificateRef
                                    objectID:(TKTokenObjectID)objectID NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithObjectID:(TKTokenObjectID)objectID TK_UNAVAILABLE;

@property(copy, readonly) NSData *data;  ///< DER

@end

@interface TKTokenKeychainKey : TKTokenKeychainItem {
  NSString *m_keyType;
  NSData *m_applicationTag;
  NSInteger m_keySizeInBits;
  NSData *m_publicKeyData;
  NSData *m_publicKeyHash;
  BOOL m_canDecrypt;
  BOOL m_canSign;
  BOOL m_canPerformKeyExchange;
  BOOL m_suitableForLogin;
}

/// Takes label, type, size and public key from the certificate, nothing when it is NULL. Keeps no reference to it.
/// Returns nil when the certificate's key is neither RSA nor on a named elliptic curve over a prime field.
- (nullable instancetype)initWithCertificate:(nullable SecCertificateRef)certificateRef
                                    objectID:(TKTokenObjectID)objectID NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithObjectID:(TKTokenObjectID)objectID TK_UNAVAILABLE;

@property(copy) NSString *keyType;  ///< kSecAttrKeyTypeRSA or kSecAttrKeyTypeECSECPrimeRandom
@property(copy, nullable) NSData *applicationTag;
@property(assign) NSInteger keySizeInBits;        ///< of the RSA modulus, of the curve's field
@property(copy, nullable) NSData *publicKeyData;  ///< PKCS #1 RSAPublicKey; X9.63 point, uncompressed
@property(copy, nullable) NSData *publicKeyHash;  ///< SHA-1 of publicKeyData
@property(assign) BOOL canDecrypt;
@property(assign) BOOL canSign;
@property(assign) BOOL canPerformKeyExchange;
@property(assign, getter=isSuitableForLogin) BOOL suitableForLogin;

@end

/// The items of one token.
@interface TKTokenKeychainContents : NSObject {
  NSArray<TKTokenKeychainItem *> *m_items;
}

- (instancetype)init TK_UNAVAILABLE;

/// Replaces everything that was stored before.
- (void)fillWithItems:(NSArray<TKTokenKeychainItem *> *)items;

@property(readonly, copy) NSArray<TKTokenKeychainItem *> *items;

/// The first key, or certificate, with an equal identifier; nil and error -6 of TKErrorDomain when there is none.
- (nullable TKTokenKeychainKey *)keyForObjectID:(TKTokenObjectID)objectID error:(NSError **)error;
- (nullable TKTokenKeychainCertificate *)certificateForObjectID:(TKTokenObjectID)objectID error:(NSError **)error;

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENKEYCHAINITEM_H_
