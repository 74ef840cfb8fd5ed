/// Drivers, tokens, sessions and the operations that authenticate a user.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKEN_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKEN_H_

#import <CryptoTokenKit/TKBase.h>
#import <Security/Security.h>

NS_ASSUME_NONNULL_BEGIN

@class TKToken;
@class TKTokenAuthOperation;
@class TKTokenConfiguration;
@class TKTokenDriver;
@class TKTokenKeychainContents;
@class TKTokenSession;

typedef id TKTokenObjectID;
typedef NSString *TKTokenInstanceID;
typedef NSString *TKTokenDriverClassID;
typedef id TKTokenOperationConstraint;

typedef NS_ENUM(NSInteger, TKTokenOperation) {
  TKTokenOperationNone = 0,
  TKTokenOperationReadData = 1,
  TKTokenOperationSignData = 2,
  TKTokenOperationDecryptData = 3,
  TKTokenOperationPerformKeyExchange = 4,
};

/// The algorithm of an operation: the one that the data is in the form of, and those that it was derived from.
@interface TKTokenKeyAlgorithm : NSObject {
  NSArray<NSString *> *m_algorithms;
}

- (instancetype)init TK_UNAVAILABLE;

/// Whether the data is in the form of `algorithm`.
- (BOOL)isAlgorithm:(SecKeyAlgorithm)algorithm;

/// Whether `algorithm` is that one or one that it was derived from.
- (BOOL)supportsAlgorithm:(SecKeyAlgorithm)algorithm;

@end

@interface TKTokenKeyExchangeParameters : NSObject {
  NSInteger m_requestedSize;
  NSData *m_sharedInfo;
}

@property(readonly) NSInteger requestedSize;  ///< in bytes; 0 when the application gave none
@property(readonly, nullable, copy) NSData *sharedInfo;

@end

@protocol TKTokenSessionDelegate <NSObject>
@optional

- (nullable TKTokenAuthOperation *)tokenSession:(TKTokenSession *)session
                          beginAuthForOperation:(TKTokenOperation)operation
                                     constraint:(TKTokenOperationConstraint)constraint
                                          error:(NSError **)error;

- (BOOL)tokenSession:(TKTokenSession *)session
    supportsOperation:(TKTokenOperation)operation
             usingKey:(TKTokenObjectID)keyObjectID
            algorithm:(TKTokenKeyAlgorithm *)algorithm;

- (nullable NSData *)tokenSession:(TKTokenSession *)session
                         signData:(NSData *)dataToSign
                         usingKey:(TKTokenObjectID)keyObjectID
                        algorithm:(TKTokenKeyAlgorithm *)algorithm
                            error:(NSError **)error;

- (nullable NSData *)tokenSession:(TKTokenSession *)session
                      decryptData:(NSData *)ciphertext
                         usingKey:(TKTokenObjectID)keyObjectID
                        algorithm:(TKTokenKeyAlgorithm *)algorithm
                            error:(NSError **)error;

- (nullable NSData *)tokenSession:(TKTokenSession *)session
    performKeyExchangeWithPublicKey:(NSData *)otherPartyPublicKeyData
                           usingKey:(TKTokenObjectID)objectID
                          algorithm:(TKTokenKeyAlgorithm *)algorithm
                         parameters:(TKTokenKeyExchangeParameters *)parameters
                              error:(NSError **)error;

@end

/// A session of one authentication context with a token. Its own delegate when it adopts the protocol.
@interface TKTokenSession : NSObject {
  TKToken *m_token;
  id<TKTokenSessionDelegate> m_delegate;
}

/// Retains `token`.
- (instancetype)initWithToken:(TKToken *)token NS_DESIGNATED_INITIALIZER;
- (instancetype)init TK_UNAVAILABLE;

@property(readonly) TKToken *token;
@property(assign, nullable) id<TKTokenSessionDelegate> delegate;  ///< not retained

@end

@protocol TKTokenDelegate <NSObject>
@required

- (nullable TKTokenSession *)token:(TKToken *)token createSessionWithError:(NSError **)error;

@optional

- (void)token:(TKToken *)token terminateSession:(TKTokenSession *)session;

@end

/// A token: what a driver makes of a card. Its own delegate when it adopts the protocol.
@interface TKToken : NSObject {
  TKTokenDriver *m_tokenDriver;
  TKTokenInstanceID m_instanceID;
  id<TKTokenDelegate> m_delegate;
  TKTokenKeychainContents *m_keychainContents;
}

- (instancetype)initWithTokenDriver:(TKTokenDriver *)tokenDriver
                         instanceID:(TKTokenInstanceID)instanceID NS_DESIGNATED_INITIALIZER;
- (instancetype)init TK_UNAVAILABLE;

@property(readonly) TKTokenDriver *tokenDriver;
@property(assign, nullable) id<TKTokenDelegate> delegate;  ///< not retained
@property(nullable, readonly) TKTokenKeychainContents *keychainContents;

/// Not modelled: raises NSInternalInconsistencyException.
@property(readonly) TKTokenConfiguration *configuration;

@end

@protocol TKTokenDriverDelegate <NSObject>
@optional

- (nullable TKToken *)tokenDriver:(TKTokenDriver *)driver
            tokenForConfiguration:(TKTokenConfiguration *)configuration
                            error:(NSError **)error;

- (void)tokenDriver:(TKTokenDriver *)driver terminateToken:(TKToken *)token;

@end

/// The extension's entry. Its own delegate when it adopts the protocol.
@interface TKTokenDriver : NSObject {
  id<TKTokenDriverDelegate> m_delegate;
}

@property(assign, nullable) id<TKTokenDriverDelegate> delegate;  ///< not retained

@end

/// An authentication under way. Coding raises NSInternalInconsistencyException: an operation never leaves its process.
@interface TKTokenAuthOperation : NSObject <NSSecureCoding>

/// Finishes the authentication: YES, or NO with `*error` set. This class needs nothing and says YES.
- (BOOL)finishWithError:(NSError **)error;

@end

@interface TKTokenPasswordAuthOperation : TKTokenAuthOperation {
  NSString *m_password;
}

@property(nullable, copy) NSString *password;  ///< what the user entered, set before the operation is finished

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKEN_H_
