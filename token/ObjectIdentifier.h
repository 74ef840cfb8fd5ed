#pragma once

#import <Foundation/Foundation.h>

#include <vector>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

// An item's object identifier is a prefix byte, which says on which slot the object is and what it is, and the card
// object's CKA_ID.

/// The slot in a prefix. Two can be told apart: a third one shares the second's bit, and is served through the second's
/// session.
inline constexpr CK_BYTE kFirstSlotBit = 0x10;
inline constexpr CK_BYTE kLaterSlotBit = 0x20;

/// The kind in a prefix.
enum class ObjectKind : CK_BYTE { Certificate = 0x01, Key = 0x02 };

/// Returns the prefix of an object of `kind` on the token's first or on a later slot.
constexpr CK_BYTE ObjectPrefix(ObjectKind kind, bool firstSlot) {
  return static_cast<CK_BYTE>((firstSlot ? kFirstSlotBit : kLaterSlotBit) | static_cast<CK_BYTE>(kind));
}

/// Returns a new object identifier: the prefix byte and the bytes of `objectID`.
NSMutableData *MakeObjectID(CK_BYTE prefix, const std::vector<CK_BYTE> &objectID);

/// Returns the prefix of an identifier, 0 for an empty one.
CK_BYTE PrefixOfObjectID(NSData *identifier);

/// The CKA_ID in an identifier, which keeps the bytes.
struct CardID {
  const CK_BYTE *_Nullable bytes;  ///< null for an empty identifier only
  CK_ULONG length;
};

/// Returns what follows the prefix of an identifier.
CardID CardIDOfObjectID(NSData *identifier);

NS_ASSUME_NONNULL_END
