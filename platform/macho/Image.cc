#include "platform/macho/Image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

namespace MachO {
namespace {

#ifdef __x86_64__
constexpr uint32_t kProcessor = 0x01000007;
#else
constexpr uint32_t kProcessor = 0x0100000C;
#endif
constexpr uint32_t kMagic = 0xFEEDFACF, kFatMagic = 0xBEBAFECA;  // the second as this processor reads it
constexpr uint32_t kHeaderSize = 32, kPageSize = 0x4000;
enum : uint32_t {
  LoadLibrary = 0xC,
  LoadSegment = 0x19,
  LoadWeakLibrary = 0x80000018,
  LoadReexportedLibrary = 0x8000001F,
  LoadOpcodes = 0x80000022,
  LoadEntry = 0x80000028,
  LoadChainedFixups = 0x80000034,
};

template <typename Value>
Value Read(const uint8_t* data) {
  Value value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

std::string FixedText(const uint8_t* data) {
  const char* text = reinterpret_cast<const char*>(data);
  return {text, strnlen(text, 16)};
}

}  // namespace

Image::Image(const std::string& path) {
  PickSlice(path);
  ReadCommands();
  Map();
}

void Image::PickSlice(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  m_file.assign(std::istreambuf_iterator<char>(file), {});
  if (m_file.size() < kHeaderSize) throw Unusable("there is no Mach-O executable " + path);
  if (Read<uint32_t>(m_file.data()) == kFatMagic) {
    const auto number = [this](size_t at) { return __builtin_bswap32(Read<uint32_t>(InFile({uint32_t(at), 4}))); };
    for (uint32_t i = 0, at = 8; i < number(4); ++i, at += 20) {
      if (number(at) != kProcessor) continue;
      const uint32_t size = number(at + 12);
      const uint8_t* slice = InFile({number(at + 8), size});
      m_file = std::vector<uint8_t>(slice, slice + size);
      break;
    }
  }
  if (Read<uint32_t>(m_file.data()) != kMagic || Read<uint32_t>(m_file.data() + 4) != kProcessor)
    throw Unusable(path + " holds no image for this processor");
}

void Image::ReadCommands() {
  const uint32_t count = Read<uint32_t>(m_file.data() + 16);
  uint32_t at = kHeaderSize;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t size = Read<uint32_t>(InFile({at + 4, 4}));
    ReadCommand(Read<uint32_t>(InFile({at, std::max(size, 8u)})), m_file.data() + at);
    at += size;
  }
  if (m_segments.empty()) throw Unusable("the image has no segments");
}

void Image::ReadCommand(uint32_t command, const uint8_t* data) {
  const auto linkerData = [data](int at) { return Read<LinkerData>(data + at); };
  if (command == LoadSegment) ReadSegment(data);
  if (command == LoadLibrary || command == LoadWeakLibrary || command == LoadReexportedLibrary)
    m_libraries.emplace_back(reinterpret_cast<const char*>(data + Read<uint32_t>(data + 8)));
  for (int i = 0; command == LoadOpcodes && i < 4; ++i) m_opcodes.push_back(linkerData(8 + 8 * i));
  if (command == LoadChainedFixups) m_chains = linkerData(8);
  if (command == LoadEntry) m_entry = Read<uint64_t>(data + 8);
}

void Image::ReadSegment(const uint8_t* data) {
  constexpr uint32_t kReadOnlyAfterFixups = 0x10;  // a flag; the protections are numbered as here
  Segment segment = {FixedText(data + 8),
                     Read<uint64_t>(data + 24),
                     Read<uint64_t>(data + 32),
                     {Read<uint32_t>(data + 40), Read<uint32_t>(data + 48)},
                     Read<int>(data + 60)};
  if (Read<uint32_t>(data + 68) & kReadOnlyAfterFixups) segment.protection &= ~PROT_WRITE;
  for (uint32_t i = 0; i < Read<uint32_t>(data + 64); ++i) {
    const uint8_t* section = data + 72 + size_t{80} * i;
    // The first of a name counts: only sections of constants share one.
    m_sections.emplace(FixedText(section), std::pair{Read<uint64_t>(section + 32), Read<uint64_t>(section + 40)});
  }
  if (segment.name == "__PAGEZERO") return;
  if (segment.name == "__TEXT") m_base = segment.address;
  m_size = std::max(m_size, segment.address + segment.size);
  m_segments.push_back(segment);
}

void Image::Map() {
  m_size = (m_size - m_base + kPageSize - 1) & ~uint64_t{kPageSize - 1};
  // Room for one more page, because segments begin at pages that may be larger than this system's.
  void* memory = mmap(nullptr, m_size + kPageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw Unusable("there is no memory for the image");
  m_memory =
      reinterpret_cast<uint8_t*>((reinterpret_cast<uint64_t>(memory) + kPageSize - 1) & ~uint64_t{kPageSize - 1});
  for (const Segment& segment : m_segments) {
    if (segment.contents.size > segment.size)
      throw Unusable("the segment " + segment.name + " holds more than it has room for");
    std::memcpy(At(segment.address), InFile(segment.contents), segment.contents.size);
  }
}

void Image::Protect() const {
  for (const Segment& segment : m_segments) {
    uint8_t* const start = At(segment.address);
    if (mprotect(start, segment.size, segment.protection) != 0)
      throw Unusable("the segment " + segment.name + " cannot be protected");
    __builtin___clear_cache(reinterpret_cast<char*>(start), reinterpret_cast<char*>(start + segment.size));
  }
}

uint8_t* Image::SegmentAt(size_t number) const {
  if (number == 0 || number > m_segments.size()) throw Unusable("a fixup is in no segment");
  return At(m_segments[number - 1].address);
}

uint8_t* Image::At(uint64_t address) const {
  if (address < m_base || address - m_base >= m_size) throw Unusable("an address lies outside the image");
  return m_memory + (address - m_base);
}

bool Image::Holds(const void* place) const {
  return place >= m_memory && place < m_memory + m_size;
}

Section Image::Find(const std::string& name) const {
  const auto found = m_sections.find(name);
  if (found == m_sections.end() || found->second.second == 0) return {};
  return {At(found->second.first), found->second.second};
}

const uint8_t* Image::InFile(LinkerData data) const {
  if (uint64_t{data.offset} + data.size > m_file.size()) throw Unusable("the file ends too early");
  return m_file.data() + data.offset;
}

}  // namespace MachO
