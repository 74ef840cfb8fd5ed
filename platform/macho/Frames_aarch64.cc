// Compact encodings of frames on arm64.

#include "platform/macho/UnwindInfo.h"

namespace MachO {
namespace {

constexpr uint32_t kModeMask = 0x0F000000;
enum : uint32_t { None = 0, WithoutFramePointer = 0x02000000, InFullTable = 0x03000000, WithFramePointer = 0x04000000 };
constexpr uint8_t kStackPointer = 31, kFramePointer = 29;

// Registers that are kept in pairs below the frame pointer, as the unwinder numbers them: x19 to x28, then d8 to d15.
struct Pair {
  uint32_t bit;
  uint8_t first;
};
constexpr Pair kPairs[] = {{0x1, 19},   {0x2, 21},   {0x4, 23},   {0x8, 25},  {0x10, 27},
                           {0x100, 72}, {0x200, 74}, {0x400, 76}, {0x800, 78}};
constexpr uint32_t kKeptRegisters = 0xF1F;

}  // namespace

const uint8_t kReturnRegister = 30;

FrameRules RulesOf(const Frame& frame) {
  FrameRules rules;
  const uint32_t mode = frame.encoding & kModeMask;
  if (mode == None || mode == InFullTable) return rules;
  if (mode == WithFramePointer) {
    rules.Address(kFramePointer, 16);
    rules.Kept(kFramePointer, 2);
    rules.Kept(kReturnRegister, 1);
    uint64_t units = 3;
    for (const Pair& pair : kPairs) {
      if (!(frame.encoding & pair.bit)) continue;
      rules.Kept(pair.first, units++);
      rules.Kept(static_cast<uint8_t>(pair.first + 1), units++);
    }
  } else if (mode == WithoutFramePointer && !(frame.encoding & kKeptRegisters)) {
    // A leaf: who called it is in its register still.
    rules.Address(kStackPointer, (frame.encoding >> 12 & 0xFFF) * uint64_t{16});
  } else {
    throw Unusable("a function without frame pointer is no leaf, which compilers for macOS do not make");
  }
  return rules;
}

}  // namespace MachO
