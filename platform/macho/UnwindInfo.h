/// The image's own account of how its functions' frames are left, and its translation for this system's unwinder.

#pragma once

#include <cstdint>
#include <vector>

#include "platform/macho/Image.h"

namespace MachO {

/// How the frames of one function are left.
struct Frame {
  const uint8_t* start = nullptr;
  uint64_t size = 0;
  uint32_t encoding = 0;              ///< compact; what its bits mean depends on the processor
  const void* personality = nullptr;  ///< the language's handler, or null
  const uint8_t* handlers = nullptr;  ///< what it reads, or null
};

/// The functions of `__unwind_info`. Throws Unusable.
std::vector<Frame> FramesOf(const Image& image);

/// `__eh_frame`, as the unwinder reads it: the functions whose frames fit no compact encoding. Null when there is none.
const void* FullEntries(const Image& image);

/// The rules for one function, in the unwinder's language.
struct FrameRules {
  /// The frame's address is register `number` plus `bytes`.
  void Address(uint8_t number, uint64_t bytes);
  /// Register `number` is kept `units` of 8 bytes below the frame's address.
  void Kept(uint8_t number, uint64_t units);

  std::vector<uint8_t> instructions;
};

/// The compact encoding in the unwinder's language; empty for a function without a frame or with a full entry. One file
/// per processor. Throws Unusable.
FrameRules RulesOf(const Frame& frame);
extern const uint8_t kReturnRegister;

}  // namespace MachO
