// Compact encodings of frames on x86-64.

#include <algorithm>

#include "platform/macho/UnwindInfo.h"

namespace MachO {
namespace {

constexpr uint32_t kModeMask = 0x0F000000;
enum : uint32_t {
  WithFramePointer = 0x01000000,
  WithConstantSize = 0x02000000,
  WithSizeInCode = 0x03000000,
  InFullTable = 0x04000000,
};
// Registers as the unwinder numbers them, at the places that the encoding gives them: none, rbx, r12 to r15, rbp.
constexpr uint8_t kNumbers[] = {0, 3, 12, 13, 14, 15, 6};
constexpr uint8_t kStackPointer = 7, kFramePointer = 6, kReturnAddress = 16;
constexpr int kMostKept = 6;

uint32_t Bits(uint32_t value, uint32_t mask) {
  return (value & mask) >> __builtin_ctz(mask);
}

/// The registers that a function without frame pointer kept, in the order in which they lie: the encoding numbers the
/// possible orders.
std::vector<uint8_t> KeptInOrder(uint32_t count, uint32_t order) {
  std::vector<uint8_t> left = {1, 2, 3, 4, 5, 6}, kept;
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t orders = 1;  // of those that follow
    for (uint32_t j = i + 1; j < count; ++j) orders *= kMostKept - j;
    const uint32_t which = order / orders;
    order %= orders;
    if (which >= left.size()) throw Unusable("a frame keeps registers in an unknown order");
    kept.push_back(kNumbers[left[which]]);
    left.erase(left.begin() + which);
  }
  return kept;
}

void WithoutFramePointer(const Frame& frame, FrameRules& rules) {
  const uint32_t count = Bits(frame.encoding, 0x1C00), sizeField = Bits(frame.encoding, 0xFF0000);
  uint64_t size = uint64_t{sizeField} * 8;
  if ((frame.encoding & kModeMask) == WithSizeInCode) {
    uint32_t inCode = 0;
    std::copy_n(frame.start + sizeField, sizeof inCode, reinterpret_cast<uint8_t*>(&inCode));
    size = inCode + Bits(frame.encoding, 0xE000) * 8;
  }
  FrameAddress(rules.instructions, kStackPointer, size);
  const std::vector<uint8_t> kept = KeptInOrder(count, Bits(frame.encoding, 0x3FF));
  for (uint32_t i = 0; i < count; ++i) KeptAt(rules.instructions, kept[i], 1 + count - i);
}

}  // namespace

FrameRules RulesOf(const Frame& frame) {
  FrameRules rules;
  rules.returnRegister = kReturnAddress;
  switch (frame.encoding & kModeMask) {
    case WithFramePointer: {
      FrameAddress(rules.instructions, kFramePointer, 16);
      KeptAt(rules.instructions, kFramePointer, 2);
      const uint32_t below = Bits(frame.encoding, 0xFF0000);
      for (uint32_t i = 0; i < 5; ++i)
        if (const uint32_t kept = frame.encoding >> 3 * i & 7; kept != 0)
          KeptAt(rules.instructions, kNumbers[std::min(kept, 6u)], 2 + below - i);
      break;
    }
    case WithConstantSize:
    case WithSizeInCode:
      WithoutFramePointer(frame, rules);
      break;
    case InFullTable:
      rules.fullEntry = Bits(frame.encoding, 0xFFFFFF);
      return rules;
    default:
      throw Unusable("a frame has an unknown encoding");
  }
  KeptAt(rules.instructions, kReturnAddress, 1);
  return rules;
}

}  // namespace MachO
