/// Makes the image's Objective-C code known to GCC's runtime.

#pragma once

#include "platform/macho/Image.h"

namespace MachO {

/// Registers the selectors, classes and categories, and corrects what the image keeps of them: references and the
/// offsets of instance variables. The image's addresses have been fixed. Throws Unusable.
void RegisterClasses(const Image& image);

}  // namespace MachO
