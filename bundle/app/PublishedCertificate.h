#pragma once

#import <Foundation/Foundation.h>

/// A certificate that a token has published, and what its key can do.
@interface QELPublishedCertificate : NSObject {
  NSString *m_name;
  NSDate *m_notBefore;
  NSDate *m_notAfter;
  NSDictionary *m_key;
}

@property(readonly, nonatomic) NSString *name;     ///< fit to be shown; empty when it has none
@property(readonly, nonatomic) NSDate *notBefore;  ///< nil when the certificate cannot be read
@property(readonly, nonatomic) NSDate *notAfter;   ///< the same
@property(readonly, nonatomic) BOOL hasKey;        ///< without one the questions below are answered with no
@property(readonly, nonatomic) BOOL signs;         ///< for others to verify
@property(readonly, nonatomic) BOOL decrypts;      ///< what was encrypted to it
@property(readonly, nonatomic) BOOL agrees;        ///< on a secret with another key
@property(readonly, nonatomic) NSString *keyType;  ///< "RSA", "EC", nil for other keys and without one
@property(readonly, nonatomic) NSInteger keySize;  ///< in bits; 0 without a key

/// The certificates of the token, as the system's keychain has them, in its order. Does not ask the card.
+ (NSArray *)certificatesOfToken:(NSString *)tokenID;

/// For tests and for +certificatesOfToken:. `attributes` are what the keychain tells of the certificate, `key` what it
/// tells of its key; nil when there is none.
- (instancetype)initWithAttributes:(NSDictionary *)attributes key:(NSDictionary *)key;

@end
