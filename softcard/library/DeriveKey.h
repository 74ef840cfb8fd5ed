#ifndef SOFTCARD_DERIVEKEY_H
#define SOFTCARD_DERIVEKEY_H

#include <vector>

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

/// The X9.63 key derivation with SHA-1 (ANSI X9.63, SEC 1 section 3.6.1): `size` bytes from the shared secret `z`.
/// Throws std::runtime_error when OpenSSL refuses.
std::vector<unsigned char> DeriveX963Sha1(const std::vector<unsigned char>& z,
                                          const std::vector<unsigned char>& sharedInfo, size_t size);

/// C_DeriveKey of a configured card. CKM_ECDH1_DERIVE takes the other party's point as X and Y without the format
/// byte that the library beneath wants, and gives a session object that can be read unless the template says otherwise.
/// CKD_SHA1_KDF is the library's own where it knows it (NSS softoken), else it is made from the raw secret (SoftHSM2).
/// Any other mechanism goes on unchanged.
CK_RV CardDeriveKey(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key, CK_ATTRIBUTE* attributes,
                    CK_ULONG count, CK_OBJECT_HANDLE* derived);

}  // namespace SoftCard

#endif
