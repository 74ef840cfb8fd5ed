/// Soft cards that answer for the card in the service's first reader: their slot's description contains its name.

#pragma once

#include "tests/host/readers/ReaderService.h"
#include "tests/integration/RealCard.h"

/// The description of that slot.
inline std::string SoftSlot() {
  return "Slot of " + ReaderService::ReaderName();
}

/// Puts `card`, as `softcard` names it, there. Throws std::runtime_error when that fails.
void PutBehindTheReader(const RealCard& soft, const std::string& card = "card");

/// Waits until the service shows its first reader as `state`: "card " or "empty". Returns whether it did.
bool Shows(const RealCard& soft, const std::string& state);
