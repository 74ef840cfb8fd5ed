/// Everything of the Security framework but the ASN.1 coder, which is imported by its own name.

#ifndef QEL_PLATFORM_SECURITY_SECURITY_H_
#define QEL_PLATFORM_SECURITY_SECURITY_H_

#include <Security/SecBase.h>
#include <Security/SecCertificate.h>
#include <Security/SecItem.h>
#include <Security/SecKey.h>

#endif  // QEL_PLATFORM_SECURITY_SECURITY_H_
