#pragma once

#include "pkcs11/Cryptoki.h"

/// The dialog for a reader of no special kind.
inline constexpr int kPlainDialogKind = 1;

/// Returns the dialog kind, as the PIN dialog library numbers them, for the vendor's slot type.
constexpr int DialogKindOfSlotType(CK_ULONG slotType) {
  switch (slotType) {
    case 0x80000002:
      return 8;
    case 0x80000003:
      return 32;
    default:
      return kPlainDialogKind;
  }
}
