/// The image's own account of how its functions' frames are left, and its translation for this system's unwinder.

#pragma once

#include <cstdint>
#include <vector>

#include "platform/macho/Image.h"

namespace MachO {

/// How the frames of one function are left.
struct Frame {
  const uint8_t *start = nullptr, *end = nullptr;
  uint32_t encoding = 0;              ///< compact; what its bits mean depends on the processor
  const void* personality = nullptr;  ///< the language's handler, or null
  const uint8_t* handlers = nullptr;  ///< what it reads, or null
};

/// The functions that `__unwind_info` tells of; those that it says nothing about are left out. Throws Unusable.
std::vector<Frame> FramesOf(const Image& image);

/// The rules for one function, in the unwinder's language.
struct FrameRules {
  std::vector<uint8_t> instructions;
  uint8_t returnRegister = 0;
  uint32_t fullEntry = 0;  ///< not 0: the rules are the entry at this offset of `__eh_frame`
};

/// The compact encoding in the unwinder's language. One file per processor. Throws Unusable.
FrameRules RulesOf(const Frame& frame);

/// Lets exceptions pass the image's functions: hands the unwinder the rules of all of them.
void RegisterFrames(const Image& image);

/// What both processors' encodings are written with: appends "register `number` is kept `units` of 8 bytes below the
/// frame's address", and "the frame's address is register `number` plus `bytes`".
void KeptAt(std::vector<uint8_t>& instructions, uint8_t number, uint64_t units);
void FrameAddress(std::vector<uint8_t>& instructions, uint8_t number, uint64_t bytes);
void AppendNumber(std::vector<uint8_t>& bytes, uint64_t value);

}  // namespace MachO
