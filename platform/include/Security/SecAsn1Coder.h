/// DER encoding of records (X.690).

#ifndef QEL_PLATFORM_SECURITY_SECASN1CODER_H_
#define QEL_PLATFORM_SECURITY_SECASN1CODER_H_

#include <Security/SecAsn1Types.h>
#include <Security/SecBase.h>

typedef struct SecAsn1Coder* SecAsn1CoderRef;

#pragma clang assume_nonnull begin

/// Makes a coder, which owns what it encodes. Returns errSecParam when `coder` is NULL, errSecAllocate without memory.
CF_EXPORT OSStatus SecAsn1CoderCreate(SecAsn1CoderRef _Nullable* _Nonnull coder);

/// Frees the coder and everything that it encoded. Returns errSecParam when `coder` is NULL.
CF_EXPORT OSStatus SecAsn1CoderRelease(SecAsn1CoderRef coder);

/// Encodes the record at `src` as `templates` says: a sequence of unsigned integers given big endian. The coder owns
/// `dest->Data`. Leading zero bytes of an integer go, and one zero byte comes before a first bit that is set; an
/// integer without bytes is encoded without bytes. Returns errSecParam for NULL and for templates of any other kind.
CF_EXPORT OSStatus SecAsn1EncodeItem(SecAsn1CoderRef coder, const void* src, const SecAsn1Template* templates,
                                     SecAsn1Item* dest);

#pragma clang assume_nonnull end

#endif  // QEL_PLATFORM_SECURITY_SECASN1CODER_H_
