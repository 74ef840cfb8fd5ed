/// X.509 certificates.

#ifndef QEL_PLATFORM_SECURITY_SECCERTIFICATE_H_
#define QEL_PLATFORM_SECURITY_SECCERTIFICATE_H_

#include <Security/SecBase.h>

#pragma clang assume_nonnull begin

/// Makes a certificate of its DER encoding, which is copied; the caller owns the result. Returns NULL when `data` is
/// not exactly one X.509 certificate (RFC 5280). `allocator` is NULL or kCFAllocatorDefault. Any thread.
CF_EXPORT _Nullable SecCertificateRef SecCertificateCreateWithData(CFAllocatorRef _Nullable allocator, CFDataRef data);

/// The certificate's DER encoding; the caller owns it.
CF_EXPORT CFDataRef SecCertificateCopyData(SecCertificateRef certificate);

/// A short text that tells a person which certificate this is, from the subject's names; the caller owns it. Returns
/// NULL when the certificate holds nothing to show.
CF_EXPORT _Nullable CFStringRef SecCertificateCopySubjectSummary(SecCertificateRef certificate);

CF_EXPORT const CFStringRef kSecPropertyKeyValue;
CF_EXPORT const CFStringRef kSecOIDX509V1ValidityNotBefore;
CF_EXPORT const CFStringRef kSecOIDX509V1ValidityNotAfter;

/// The values of `keys`, of the two dates of validity: each a dictionary with the seconds since the reference date of
/// Foundation as kSecPropertyKeyValue. A date that the certificate does not tell properly is left out. The caller owns
/// the result; `error` stays as it was.
CF_EXPORT _Nullable CFDictionaryRef SecCertificateCopyValues(SecCertificateRef certificate, CFArrayRef _Nullable keys,
                                                             CFErrorRef _Nullable* _Nullable error);

/// Not modelled: raises NSInternalInconsistencyException.
CF_EXPORT _Nullable SecKeyRef SecCertificateCopyKey(SecCertificateRef certificate);

#pragma clang assume_nonnull end

#endif  // QEL_PLATFORM_SECURITY_SECCERTIFICATE_H_
