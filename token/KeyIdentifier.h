#pragma once

#import <Foundation/Foundation.h>

#include <vector>

#include "pkcs11/Cryptoki.h"

NS_ASSUME_NONNULL_BEGIN

/// First byte of an item's object identifier: which slot the object is on, and what it is. The card object's CKA_ID
/// follows. Two slots can be told apart: a third one shares the second's bit, and is served through the second's
/// session.
enum ObjectKindPrefix : CK_BYTE {
  kFirstSlotBit = 0x10,
  kLaterSlotBit = 0x20,
  kCertificateKind = 0x01,
  kKeyKind = 0x02,
};

/// Returns the prefix of an object of `kind` on the token's first or on a later slot.
constexpr CK_BYTE ObjectPrefix(ObjectKindPrefix kind, bool firstSlot) {
  return static_cast<CK_BYTE>((firstSlot ? kFirstSlotBit : kLaterSlotBit) | kind);
}

/// Returns a new object identifier: the prefix byte and the bytes of `objectID`.
NSMutableData *MakeObjectID(CK_BYTE prefix, const std::vector<CK_BYTE> &objectID);

/// Returns the prefix of an identifier, 0 for an empty one.
CK_BYTE PrefixOfObjectID(NSData *identifier);

/// Returns the CKA_ID in an identifier: what follows the prefix.
std::vector<CK_BYTE> CardIDOfObjectID(NSData *identifier);

NS_ASSUME_NONNULL_END
