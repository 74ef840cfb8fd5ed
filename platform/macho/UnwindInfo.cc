#include "platform/macho/UnwindInfo.h"

#include <cstring>
#include <map>

namespace MachO {
namespace {

constexpr uint32_t kRegularPage = 2, kCompressedPage = 3;
constexpr int kPersonalityShift = 28;
constexpr uint32_t kPersonalityMask = 3, kHasHandlers = 0x40000000;

struct Header {
  uint32_t version, commonEncodings, commonEncodingCount, personalities, personalityCount, index, indexCount;
};

struct IndexEntry {
  uint32_t function, page, handlers;
};

struct RegularPage {
  uint32_t kind;
  uint16_t entries, entryCount;
};

struct CompressedPage {
  uint32_t kind;
  uint16_t entries, entryCount, encodings, encodingCount;
};

class Reader {
 public:
  explicit Reader(const Image& image) : m_image(image), m_section(image.Find("__unwind_info")) {
    if (m_section.start == nullptr) return;
    const auto& header = *At<Header>(0);
    if (header.version != 1) throw Unusable("__unwind_info is of an unknown version");
    const auto* index = At<IndexEntry>(header.index);
    const IndexEntry& last = index[header.indexCount - 1];  // only says where the code ends
    for (const auto* entry = At<uint32_t>(index[0].handlers); entry != At<uint32_t>(last.handlers); entry += 2)
      m_handlers[entry[0]] = entry[1];
    for (uint32_t i = 0; i + 1 < header.indexCount; ++i)
      if (index[i].page != 0) ReadPage(header, index[i]);
    for (size_t i = 0; i < m_frames.size(); ++i)
      m_frames[i].end = i + 1 < m_frames.size() ? m_frames[i + 1].start : m_image.FromHeader(last.function);
  }

  std::vector<Frame> Frames() const {
    std::vector<Frame> told;
    for (const Frame& frame : m_frames)
      if (frame.encoding != 0) told.push_back(frame);
    return told;
  }

 private:
  template <typename Value>
  const Value* At(uint32_t offset) const {
    if (offset > m_section.size) throw Unusable("__unwind_info ends too early");
    return reinterpret_cast<const Value*>(m_section.start + offset);
  }

  void ReadPage(const Header& header, const IndexEntry& index) {
    if (const auto& regular = *At<RegularPage>(index.page); regular.kind == kRegularPage) {
      const auto* entries = At<uint32_t>(index.page + regular.entries);
      for (uint32_t i = 0; i < regular.entryCount; ++i) Add(header, entries[2 * i], entries[2 * i + 1]);
      return;
    }
    const auto& page = *At<CompressedPage>(index.page);
    if (page.kind != kCompressedPage) throw Unusable("a page of __unwind_info is of an unknown kind");
    const auto* entries = At<uint32_t>(index.page + page.entries);
    for (uint32_t i = 0; i < page.entryCount; ++i) {
      const uint32_t encoding = entries[i] >> 24, own = encoding - header.commonEncodingCount;
      Add(header, index.function + (entries[i] & 0xFFFFFF),
          encoding < header.commonEncodingCount ? At<uint32_t>(header.commonEncodings)[encoding]
                                                : At<uint32_t>(index.page + page.encodings)[own]);
    }
  }

  void Add(const Header& header, uint32_t function, uint32_t encoding) {
    Frame frame;
    frame.start = m_image.FromHeader(function);
    frame.encoding = encoding;
    if (const uint32_t number = encoding >> kPersonalityShift & kPersonalityMask; number != 0) {
      const uint32_t place = At<uint32_t>(header.personalities)[number - 1];
      frame.personality = *reinterpret_cast<void**>(m_image.FromHeader(place));
    }
    if (encoding & kHasHandlers) {
      const auto handlers = m_handlers.find(function);
      if (handlers == m_handlers.end()) throw Unusable("__unwind_info promises handlers that it does not name");
      frame.handlers = m_image.FromHeader(handlers->second);
    }
    m_frames.push_back(frame);
  }

  const Image& m_image;
  Section m_section;
  std::map<uint32_t, uint32_t> m_handlers;  ///< by function
  std::vector<Frame> m_frames;
};

}  // namespace

std::vector<Frame> FramesOf(const Image& image) {
  return Reader(image).Frames();
}

}  // namespace MachO
