/// What is done to a mapped image until its code can run, in this order. Everything throws Unusable.

#pragma once

#include <functional>

#include "platform/macho/Image.h"

namespace MachO {

/// Where what the image imports lies. `library` is the path that the image names, or empty for a symbol that any image
/// may define, such as a replaceable function of C++.
using Resolver = std::function<void*(const std::string& library, const std::string& symbol)>;

/// Who answers the imports: the rows of imports.txt, which is part of this program. An import without a row is an
/// error.
Resolver ReadImports();

/// Puts addresses into the image: its own, moved to where it lies, and those of what it imports. The second and the
/// third are the two ways in which linkers write them down; the first takes the right one.
void ApplyFixups(const Image& image, const Resolver& resolve);
void ApplyOpcodes(const Image& image, const Resolver& resolve);
void ApplyChains(const Image& image, const Resolver& resolve);

/// For those two: the address of an import of the library that `ordinal` means, and the pointer at `place`.
uint64_t AddressOf(const Image& image, const Resolver& resolve, int64_t ordinal, const std::string& symbol);
uint64_t& PointerAt(const Image& image, uint8_t* place);

/// Makes the selectors, classes and categories known to GCC's runtime, and corrects what the image keeps of them:
/// references and the offsets of instance variables.
void RegisterClasses(const Image& image);

/// Lets exceptions pass the image's functions: hands the unwinder the rules of all of them.
void RegisterFrames(const Image& image);

}  // namespace MachO
