// The newer way: each pointer says how far the next is, and which import it is or where it points to.

#include <cstring>

#include "platform/macho/Fixups.h"

namespace MachO {
namespace {

constexpr uint16_t kAbsolute = 2, kFromHeader = 6;  // formats of the pointers
constexpr uint16_t kNoneInPage = 0xFFFF;

struct Header {
  uint32_t version, starts, imports, symbols, importCount, importFormat, symbolFormat;
};

struct Starts {
  uint32_t size;
  uint16_t pageSize, format;
  uint64_t segmentOffset;
  uint32_t largest;
  uint16_t pageCount, firstPage[1];
} __attribute__((packed));

struct Import {
  int64_t ordinal = 0, addend = 0;
  std::string symbol;
};

class Chains {
 public:
  Chains(const Image& image, const Resolver& resolve)
      : m_image(image), m_resolve(resolve), m_data(image.InFile(image.ChainedFixups())) {
    const auto* header = reinterpret_cast<const Header*>(m_data);
    if (header->version != 0 || header->symbolFormat != 0) throw Unusable("the chained fixups are of an unknown kind");
    for (uint32_t i = 0; i < header->importCount; ++i) m_imports.push_back(ReadImport(*header, i));
    const auto* counts = reinterpret_cast<const uint32_t*>(m_data + header->starts);
    for (uint32_t i = 0; i < counts[0]; ++i)
      if (counts[1 + i] != 0) Walk(*reinterpret_cast<const Starts*>(m_data + header->starts + counts[1 + i]));
  }

 private:
  Import ReadImport(const Header& header, uint32_t index) const {
    const char* symbols = reinterpret_cast<const char*>(m_data + header.symbols);
    const uint8_t* imports = m_data + header.imports;
    if (header.importFormat == 3) {
      uint64_t words[2];
      std::memcpy(words, imports + sizeof words * index, sizeof words);
      return {static_cast<int16_t>(words[0]), static_cast<int64_t>(words[1]), symbols + (words[0] >> 32)};
    }
    int32_t words[2] = {};
    const size_t size = header.importFormat == 1 ? 4 : 8;
    if (header.importFormat != 1 && header.importFormat != 2) throw Unusable("the imports are of an unknown format");
    std::memcpy(words, imports + size * index, size);
    return {static_cast<int8_t>(words[0]), words[1], symbols + (static_cast<uint32_t>(words[0]) >> 9)};
  }

  void Walk(const Starts& starts) const {
    if (starts.format != kAbsolute && starts.format != kFromHeader)
      throw Unusable("the chained pointers are of format " + std::to_string(starts.format) +
                     ", which is not known here");
    for (uint16_t page = 0; page < starts.pageCount; ++page) {
      if (starts.firstPage[page] == kNoneInPage) continue;
      uint8_t* place =
          m_image.FromHeader(starts.segmentOffset + uint64_t{page} * starts.pageSize + starts.firstPage[page]);
      while (const uint64_t distance = Fix(starts.format, PointerAt(m_image, place))) place += distance;
    }
  }

  /// Puts the address in the place of the `pointer`'s description; returns the distance to the next, 0 for none.
  uint64_t Fix(uint16_t format, uint64_t& pointer) const {
    const uint64_t description = pointer, distance = (description >> 51 & 0xFFF) * 4;
    if (description >> 63) {
      const Import& import = m_imports.at(description & 0xFFFFFF);
      const std::string library = LibraryOf(m_image, import.ordinal, import.symbol);
      const int64_t addend = import.addend + static_cast<int64_t>(description >> 24 & 0xFF);
      pointer = reinterpret_cast<uint64_t>(m_resolve(library, import.symbol)) + addend;
      return distance;
    }
    const uint64_t target = description & 0xFFFFFFFFF, high = (description >> 36 & 0xFF) << 56;
    uint8_t* const place = format == kFromHeader ? m_image.FromHeader(target) : m_image.At(target);
    pointer = reinterpret_cast<uint64_t>(place) | high;
    return distance;
  }

  const Image& m_image;
  const Resolver& m_resolve;
  const uint8_t* m_data;
  std::vector<Import> m_imports;
};

}  // namespace

void ApplyFixups(const Image& image, const Resolver& resolve) {
  if (image.ChainedFixups().size == 0 && image.Opcodes().empty())
    throw Unusable("the image says nothing about its addresses");
  if (image.ChainedFixups().size == 0) return ApplyOpcodes(image, resolve);
  const Chains applied(image, resolve);
}

std::string LibraryOf(const Image& image, int64_t ordinal, const std::string& symbol) {
  constexpr int64_t kAnyDefinition = -3;
  if (ordinal == kAnyDefinition) return {};
  if (ordinal < 1 || ordinal > static_cast<int64_t>(image.Libraries().size()))
    throw Unusable("the import " + symbol + " is of no library");
  return image.Libraries()[static_cast<size_t>(ordinal) - 1];
}

uint64_t& PointerAt(const Image& image, uint8_t* place) {
  if (!image.Holds(place) || !image.Holds(place + sizeof(uint64_t) - 1))
    throw Unusable("a fixup lies outside the image");
  return *reinterpret_cast<uint64_t*>(place);
}

}  // namespace MachO
