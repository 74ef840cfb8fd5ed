/// A Mach-O executable of this processor, mapped into this process.

#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace MachO {

/// The image is not what this loader can run. The text is a whole sentence without a full stop.
class Unusable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Where a load command says that data lies in the file.
struct LinkerData {
  uint32_t offset = 0, size = 0;
};

struct Section {
  uint8_t* start = nullptr;  ///< null when the image has no such section
  uint64_t size = 0;
};

/// A section that is an array.
template <typename Value>
struct Array {
  Value *first, *last;
  Value* begin() const { return first; }
  Value* end() const { return last; }
};

class Image {
 public:
  /// Maps the slice of this processor: writable, not executable. It stays until the process ends. Throws Unusable.
  explicit Image(const std::string& path);

  /// Gives every segment the protection that the linker asked for. What was written to code before is in effect then.
  void Protect() const;

  /// Where the loaded image holds what was linked at `address`. Throws Unusable when it holds no such address.
  uint8_t* At(uint64_t address) const;
  /// The same, counted from the image's header.
  uint8_t* FromHeader(uint64_t offset) const { return At(m_base + offset); }
  bool Holds(const void* place) const;

  /// The section of that name, in whichever segment.
  Section Find(const std::string& name) const;
  template <typename Value>
  Array<Value> ArrayIn(const std::string& name) const {
    const Section section = Find(name);
    auto* const first = reinterpret_cast<Value*>(section.start);
    return {first, first + section.size / sizeof(Value)};
  }
  /// Where the part of that number lies; __PAGEZERO, which has no place here, is number 0. Throws Unusable.
  uint8_t* SegmentAt(size_t number) const;
  const std::vector<std::string>& Libraries() const { return m_libraries; }

  /// Offsets into the file: the dynamic linker's data. `Opcodes` are rebase, bind, weak bind and lazy bind.
  const std::vector<LinkerData>& Opcodes() const { return m_opcodes; }
  LinkerData ChainedFixups() const { return m_chains; }
  /// Bytes of the file that `data` speaks of. Throws Unusable when it ends before.
  const uint8_t* InFile(LinkerData data) const;

  /// The offset of the entry from the header.
  uint64_t Entry() const { return m_entry; }

 private:
  struct Segment {
    std::string name;
    uint64_t address, size;  ///< as linked
    LinkerData contents;
    int protection;  ///< of mmap
  };

  void PickSlice(const std::string& path);
  void ReadCommands();
  void ReadCommand(uint32_t command, const uint8_t* data);
  void ReadSegment(const uint8_t* data);
  void Map();

  std::vector<uint8_t> m_file;  ///< the slice
  uint8_t* m_memory = nullptr;
  uint64_t m_base = 0, m_size = 0, m_entry = 0;
  std::vector<Segment> m_segments;
  std::vector<LinkerData> m_opcodes;
  LinkerData m_chains;
  std::vector<std::string> m_libraries;
  std::map<std::string, std::pair<uint64_t, uint64_t>> m_sections;  ///< address and size by name
};

}  // namespace MachO
