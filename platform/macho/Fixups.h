/// Puts addresses into a mapped image: its own, moved to where it lies, and those of what it imports.

#pragma once

#include <functional>

#include "platform/macho/Image.h"

namespace MachO {

/// Where what the image imports lies. `library` is the path that the image names, or empty for a symbol that any image
/// may define, such as a replaceable function of C++.
using Resolver = std::function<void*(const std::string& library, const std::string& symbol)>;

/// Applies what the linker wrote down, whichever of the two ways. Throws Unusable.
void ApplyFixups(const Image& image, const Resolver& resolve);
void ApplyOpcodes(const Image& image, const Resolver& resolve);

/// The library that an import's ordinal means. Throws Unusable for those that no executable of ours should have.
std::string LibraryOf(const Image& image, int64_t ordinal, const std::string& symbol);
/// The pointer at `place`. Throws Unusable when that is not within the image.
uint64_t& PointerAt(const Image& image, uint8_t* place);

}  // namespace MachO
