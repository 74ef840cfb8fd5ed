// What both ways of writing fixups down have in common.

#include "platform/macho/Loading.h"

namespace MachO {

void ApplyFixups(const Image& image, const Resolver& resolve) {
  if (image.ChainedFixups().size != 0) return ApplyChains(image, resolve);
  if (image.Opcodes().empty()) throw Unusable("the image says nothing about its addresses");
  ApplyOpcodes(image, resolve);
}

uint64_t AddressOf(const Image& image, const Resolver& resolve, int64_t ordinal, const std::string& symbol) {
  constexpr int64_t kAnyDefinition = -3;
  if (ordinal == kAnyDefinition) return reinterpret_cast<uint64_t>(resolve({}, symbol));
  if (ordinal < 1 || ordinal > static_cast<int64_t>(image.Libraries().size()))
    throw Unusable("the import " + symbol + " is of no library");
  return reinterpret_cast<uint64_t>(resolve(image.Libraries()[static_cast<size_t>(ordinal) - 1], symbol));
}

uint64_t& PointerAt(const Image& image, uint8_t* place) {
  if (!image.Holds(place) || !image.Holds(place + sizeof(uint64_t) - 1))
    throw Unusable("a fixup lies outside the image");
  return *reinterpret_cast<uint64_t*>(place);
}

}  // namespace MachO
