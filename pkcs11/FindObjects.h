#pragma once

#include <vector>

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Finds the objects that match the `count` attributes of `attributes` (PKCS#11 2.40 section 5.7), in the library's
/// order. Throws -6 when the search cannot start, breaks off, or answers with more handles than were asked for; ending
/// the search is logged, never thrown. The attributes stay the caller's; one search at a time per session.
std::vector<CK_OBJECT_HANDLE> FindObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count);

/// Finds the objects of `objectClass` with exactly this CKA_ID: a search for the two attributes, in this order. Throws
/// as FindObjects does.
std::vector<CK_OBJECT_HANDLE> FindObjectsByID(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass,
                                              const std::vector<CK_BYTE>& id);

}  // namespace PKCS11
