/// Names of item attributes and their values, and the items that tokens publish.

#ifndef QEL_PLATFORM_SECURITY_SECITEM_H_
#define QEL_PLATFORM_SECURITY_SECITEM_H_

#include <Security/SecBase.h>

CF_EXPORT const CFStringRef _Nonnull kSecAttrKeyTypeRSA;
CF_EXPORT const CFStringRef _Nonnull kSecAttrKeyTypeEC;  ///< equal to kSecAttrKeyTypeECSECPrimeRandom
CF_EXPORT const CFStringRef _Nonnull kSecAttrKeyTypeECSECPrimeRandom;
CF_EXPORT const CFStringRef _Nonnull kSecAttrAccessGroupToken;
CF_EXPORT const CFStringRef _Nonnull kSecAttrTokenID;
CF_EXPORT const CFStringRef _Nonnull kSecAttrLabel;
CF_EXPORT const CFStringRef _Nonnull kSecAttrApplicationLabel;
CF_EXPORT const CFStringRef _Nonnull kSecAttrPublicKeyHash;
CF_EXPORT const CFStringRef _Nonnull kSecAttrAccessGroup;
CF_EXPORT const CFStringRef _Nonnull kSecAttrKeyType;
CF_EXPORT const CFStringRef _Nonnull kSecAttrKeySizeInBits;
CF_EXPORT const CFStringRef _Nonnull kSecAttrCanSign;
CF_EXPORT const CFStringRef _Nonnull kSecAttrCanDecrypt;
CF_EXPORT const CFStringRef _Nonnull kSecAttrCanDerive;

CF_EXPORT const CFStringRef _Nonnull kSecClass;
CF_EXPORT const CFStringRef _Nonnull kSecClassCertificate;
CF_EXPORT const CFStringRef _Nonnull kSecClassKey;
CF_EXPORT const CFStringRef _Nonnull kSecMatchLimit;
CF_EXPORT const CFStringRef _Nonnull kSecMatchLimitAll;
CF_EXPORT const CFStringRef _Nonnull kSecReturnAttributes;
CF_EXPORT const CFStringRef _Nonnull kSecReturnData;
CF_EXPORT const CFStringRef _Nonnull kSecValueData;

#pragma clang assume_nonnull begin

/// The certificates or keys of the token kSecAttrTokenID: an array of dictionaries, with a certificate's bytes as
/// kSecValueData. The caller owns the array. Returns errSecItemNotFound when there are none, and errSecUnimplemented
/// for a query that does not ask for all items with attributes of one token. Main thread.
CF_EXPORT OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef _Nullable* _Nullable result);

#pragma clang assume_nonnull end

#endif  // QEL_PLATFORM_SECURITY_SECITEM_H_
