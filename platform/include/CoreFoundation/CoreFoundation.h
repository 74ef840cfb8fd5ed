/// The few Core Foundation names that the Security functions are declared with. A reference is a Foundation object
/// under another type: cast it, and own it by the Create and Get rules.

#ifndef QEL_PLATFORM_COREFOUNDATION_COREFOUNDATION_H_
#define QEL_PLATFORM_COREFOUNDATION_COREFOUNDATION_H_

#include <stdint.h>

#define CF_BRIDGED_TYPE(T)
#ifdef __cplusplus
#define CF_EXPORT extern "C" __attribute__((visibility("default")))
#else
#define CF_EXPORT extern __attribute__((visibility("default")))
#endif

typedef int32_t SInt32;
typedef SInt32 OSStatus;
typedef long CFIndex;

typedef const void *CFTypeRef;
typedef const struct CF_BRIDGED_TYPE(NSString) __CFString *CFStringRef;
typedef const struct CF_BRIDGED_TYPE(NSData) __CFData *CFDataRef;
typedef const struct CF_BRIDGED_TYPE(NSArray) __CFArray *CFArrayRef;
typedef const struct CF_BRIDGED_TYPE(NSDictionary) __CFDictionary *CFDictionaryRef;
typedef struct CF_BRIDGED_TYPE(NSError) __CFError *CFErrorRef;
typedef const struct __CFAllocator *CFAllocatorRef;

#pragma clang assume_nonnull begin

/// The default allocator; the same as NULL.
CF_EXPORT const CFAllocatorRef _Nullable kCFAllocatorDefault;

/// Retains `cf` and returns it. Raises NSInvalidArgumentException for NULL.
CF_EXPORT CFTypeRef CFRetain(CFTypeRef cf);

/// Releases `cf`. Raises NSInvalidArgumentException for NULL.
CF_EXPORT void CFRelease(CFTypeRef cf);

#pragma clang assume_nonnull end

#endif  // QEL_PLATFORM_COREFOUNDATION_COREFOUNDATION_H_
