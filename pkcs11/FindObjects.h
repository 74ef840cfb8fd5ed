#pragma once

#include <optional>
#include <vector>

#include "pkcs11/Cryptoki.h"

namespace PKCS11 {

/// Finds the objects that match the `count` attributes of `attributes` (PKCS#11 2.40 section 5.7), in the library's
/// order. Throws -6 when the search cannot start, breaks off, answers with more handles than were asked for, or finds
/// more than kMostObjects; ending the search is logged, never thrown. The attributes stay the caller's; one search at a
/// time per session.
std::vector<CK_OBJECT_HANDLE> FindObjects(CK_SESSION_HANDLE session, CK_ATTRIBUTE* attributes, CK_ULONG count);

/// Finds the first object of `objectClass` with exactly the `length` bytes of `id` as its CKA_ID: a search for the two
/// attributes, in this order, to its end. Nothing when there is none. Throws as FindObjects does.
std::optional<CK_OBJECT_HANDLE> FindFirstByID(CK_SESSION_HANDLE session, CK_OBJECT_CLASS objectClass, const CK_BYTE* id,
                                              CK_ULONG length);

}  // namespace PKCS11
