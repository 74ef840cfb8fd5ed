#pragma once

/// The one place where the PKCS#11 header (version 2.40 types and constants) enters the product.
#include <p11-kit/pkcs11.h>

// The parameter structures cross the library's boundary as bytes; their layout is part of the contract with it.
static_assert(sizeof(CK_ULONG) == 8, "the maker's library is 64-bit");
static_assert(sizeof(CK_RSA_PKCS_PSS_PARAMS) == 24, "natural alignment");
static_assert(sizeof(CK_ECDH1_DERIVE_PARAMS) == 40, "natural alignment");

/// Vendor function of the maker's library: writes the kind of PIN pad that the reader of `slotID` has.
using CK_C_GetSlotType = CK_RV (*)(CK_SLOT_ID slotID, CK_ULONG_PTR pSlotType);

/// Category of a certificate that belongs to the card's user, PKCS#11 2.40 section 4.6.2.
inline constexpr CK_ULONG kCertificateCategoryTokenUser = 1;

/// No card answers with more bytes than this. A length above it, CK_UNAVAILABLE_INFORMATION included, is taken for what
/// it is: a library that does not know the length.
inline constexpr CK_ULONG kLargestAnswer = 64UL * 1024 * 1024;

/// No card holds more objects than this. A search that finds more has no end.
inline constexpr CK_ULONG kMostObjects = 1'000'000;
