#pragma once

#include <memory>

#include "tests/support/card/Card.h"

/// What a story's card holds: so many slots on the reader "Example Reader 0", each with so many certificates of the
/// user category with their keys and one certificate of an authority. Behind them stands one slot of another reader.
/// The PIN is 1234.
struct StoryContents {
  size_t slots = 1;
  size_t keysPerSlot = 1;
  bool rsa = false;  // 2048 bits; else EC on P-256
};

inline constexpr char kStoryReader[] = "Example Reader 0";

/// Makes the card of the test program: the fake one, or SoftHSM2. Throws std::runtime_error when that cannot be made.
std::unique_ptr<TestCard::Card> MakeStoryCard(const StoryContents& contents);
