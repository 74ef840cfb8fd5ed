/// Types and status codes of the Security framework.

#ifndef QEL_PLATFORM_SECURITY_SECBASE_H_
#define QEL_PLATFORM_SECURITY_SECBASE_H_

#include <CoreFoundation/CoreFoundation.h>

typedef struct CF_BRIDGED_TYPE(id) __SecCertificate* SecCertificateRef;
typedef struct CF_BRIDGED_TYPE(id) __SecKey* SecKeyRef;

enum {
  errSecSuccess = 0,
  errSecUnimplemented = -4,
  errSecParam = -50,
  errSecAllocate = -108,
  errSecUserCanceled = -128,
  errSecItemNotFound = -25300,
  errSecUnknownFormat = -25257,
  errSecDecode = -26275,
};

#endif  // QEL_PLATFORM_SECURITY_SECBASE_H_
