// The newer way: each pointer says how far the next is, and which import it is or where it points to.

#include <cstring>

#include "platform/macho/Loading.h"

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
  /// The address of an import, with what is added to it: nothing in the first format.
  uint64_t ReadImport(const Header& header, uint32_t index) const {
    if (header.importFormat != 1 && header.importFormat != 2) throw Unusable("the imports are of an unknown format");
    const size_t size = sizeof(int32_t) * header.importFormat;
    int32_t words[2] = {};  // the library's ordinal in the low byte, the symbol's place above it
    std::memcpy(words, m_data + header.imports + size * index, size);
    const auto* symbol =
        reinterpret_cast<const char*>(m_data + header.symbols + (static_cast<uint32_t>(words[0]) >> 9));
    return AddressOf(m_image, m_resolve, static_cast<int8_t>(words[0]), symbol) + static_cast<uint64_t>(words[1]);
  }

  void Walk(const Starts& starts) const {
    if (starts.format != kAbsolute && starts.format != kFromHeader)
      throw Unusable("the chained pointers are of the unknown format " + std::to_string(starts.format));
    for (uint16_t page = 0; page < starts.pageCount; ++page) {
      if (starts.firstPage[page] == kNoneInPage) continue;
      const uint64_t first = starts.segmentOffset + uint64_t{page} * starts.pageSize + starts.firstPage[page];
      uint8_t* place = m_image.FromHeader(first);
      while (const uint64_t distance = Fix(starts.format, PointerAt(m_image, place))) place += distance;
    }
  }

  /// Puts the address in the place of the `pointer`'s description; returns the distance to the next, 0 for none.
  uint64_t Fix(uint16_t format, uint64_t& pointer) const {
    const uint64_t description = pointer, distance = (description >> 51 & 0xFFF) * 4;
    if (description >> 63) {
      pointer = m_imports.at(description & 0xFFFFFF) + (description >> 24 & 0xFF);
      return distance;
    }
    const uint64_t target = description & 0xFFFFFFFFF, high = (description >> 36 & 0xFF) << 56;
    pointer =
        reinterpret_cast<uint64_t>(format == kFromHeader ? m_image.FromHeader(target) : m_image.At(target)) | high;
    return distance;
  }

  const Image& m_image;
  const Resolver& m_resolve;
  const uint8_t* m_data;
  std::vector<uint64_t> m_imports;
};

}  // namespace

void ApplyChains(const Image& image, const Resolver& resolve) {
  const Chains applied(image, resolve);
}

}  // namespace MachO
