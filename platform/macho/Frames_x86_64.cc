// Compact encodings of frames on x86-64.

#include "platform/macho/UnwindInfo.h"

namespace MachO {
namespace {

constexpr uint32_t kModeMask = 0x0F000000;
enum : uint32_t { None = 0, WithFramePointer = 0x01000000, WithoutFramePointer = 0x02000000, InFullTable = 0x04000000 };
constexpr uint8_t kStackPointer = 7, kFramePointer = 6;
// Registers as the unwinder numbers them, by their numbers in the encoding: none, rbx, r12 to r15.
constexpr uint8_t kNumbers[8] = {0, 3, 12, 13, 14, 15};

}  // namespace

const uint8_t kReturnRegister = 16;

FrameRules RulesOf(const Frame& frame) {
  FrameRules rules;
  const uint32_t mode = frame.encoding & kModeMask, size = frame.encoding >> 16 & 0xFF;
  if (mode == None || mode == InFullTable) return rules;
  if (mode == WithFramePointer) {
    rules.Address(kFramePointer, 16);
    rules.Kept(kFramePointer, 2);
    for (uint32_t i = 0; i < 5; ++i)
      if (const uint32_t kept = frame.encoding >> 3 * i & 7; kept != 0) rules.Kept(kNumbers[kept], 2 + size - i);
  } else if (constexpr uint32_t kKeptRegisters = 0x1C00;
             mode == WithoutFramePointer && !(frame.encoding & kKeptRegisters)) {
    rules.Address(kStackPointer, uint64_t{size} * 8);
  } else {
    throw Unusable("a function without frame pointer is no leaf, which compilers for macOS do not make");
  }
  rules.Kept(kReturnRegister, 1);
  return rules;
}

}  // namespace MachO
