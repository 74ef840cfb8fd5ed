/// Names of item attributes and their values.

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

#endif  // QEL_PLATFORM_SECURITY_SECITEM_H_
