/// The object behind a SecCertificateRef.

#pragma once

#import <Foundation/Foundation.h>
#import <Security/SecCertificate.h>

@interface QELCertificate : NSObject {
  NSData *m_data;
  NSString *m_subjectSummary;
  NSString *m_keyType;
  NSInteger m_keySizeInBits;
  NSData *m_publicKeyData;
  NSData *m_publicKeyHash;
  NSNumber *m_notBefore;
  NSNumber *m_notAfter;
}

/// Returns nil when `data` is not exactly one DER certificate.
- (instancetype)initWithData:(NSData *)data;

@property(readonly, nonatomic) NSData *data;
@property(readonly, nonatomic) NSString *subjectSummary;  ///< nil when there is nothing to show
@property(readonly, nonatomic) NSString *keyType;         ///< nil when neither RSA nor on a curve over a prime field
@property(readonly, nonatomic) NSInteger keySizeInBits;
@property(readonly, nonatomic) NSData *publicKeyData;
@property(readonly, nonatomic) NSData *publicKeyHash;
@property(readonly, nonatomic) NSNumber *notBefore;  ///< seconds since the reference date; nil when it tells none
@property(readonly, nonatomic) NSNumber *notAfter;   ///< the same

@end
