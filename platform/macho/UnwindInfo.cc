#include "platform/macho/UnwindInfo.h"

#include <cstring>
#include <map>

namespace MachO {
namespace {

constexpr uint32_t kRegularPage = 2, kCompressedPage = 3;
constexpr uint32_t kHasHandlers = 0x40000000;  // in an encoding; a personality has its number in 0x30000000

struct Header {
  uint32_t version, commonEncodings, commonEncodingCount, personalities, personalityCount, index, indexCount;
};

struct IndexEntry {
  uint32_t function, page, handlers;
};

/// Of either kind; a regular one has no encodings of its own.
struct Page {
  uint32_t kind;
  uint16_t entries, entryCount, encodings, encodingCount;
};

class Reader {
 public:
  Reader(const Image& image, Section section) : m_image(image), m_section(section) {
    const auto& header = *At<Header>(0);
    if (header.version != 1) throw Unusable("__unwind_info is of an unknown version");
    const auto* index = At<IndexEntry>(header.index);
    const IndexEntry& last = index[header.indexCount - 1];  // only says where the code ends
    for (const auto* entry = At<uint32_t>(index[0].handlers); entry != At<uint32_t>(last.handlers); entry += 2)
      m_handlers[entry[0]] = entry[1];
    for (uint32_t i = 0; i + 1 < header.indexCount; ++i)
      if (index[i].page != 0) ReadPage(header, index[i]);
    const uint8_t* end = m_image.FromHeader(last.function);
    for (auto frame = m_frames.rbegin(); frame != m_frames.rend(); end = frame++->start)
      frame->size = static_cast<uint64_t>(end - frame->start);
  }

  std::vector<Frame> Frames() && { return std::move(m_frames); }

 private:
  template <typename Value>
  const Value* At(uint32_t offset) const {
    if (offset > m_section.size) throw Unusable("__unwind_info ends too early");
    return reinterpret_cast<const Value*>(m_section.start + offset);
  }

  void ReadPage(const Header& header, const IndexEntry& index) {
    const auto& page = *At<Page>(index.page);
    const auto* entries = At<uint32_t>(index.page + page.entries);
    if (page.kind == kRegularPage)
      for (uint32_t i = 0; i < page.entryCount; ++i) Add(header, entries[2 * i], entries[2 * i + 1]);
    else if (page.kind == kCompressedPage)
      for (uint32_t i = 0; i < page.entryCount; ++i) {
        const uint32_t encoding = entries[i] >> 24, own = encoding - header.commonEncodingCount;
        Add(header, index.function + (entries[i] & 0xFFFFFF),
            encoding < header.commonEncodingCount ? At<uint32_t>(header.commonEncodings)[encoding]
                                                  : At<uint32_t>(index.page + page.encodings)[own]);
      }
    else
      throw Unusable("a page of __unwind_info is of an unknown kind");
  }

  void Add(const Header& header, uint32_t function, uint32_t encoding) {
    Frame frame = {m_image.FromHeader(function), 0, encoding, nullptr, nullptr};
    if (const uint32_t number = encoding >> 28 & 3; number != 0) {
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
  const Section section = image.Find("__unwind_info");
  return section.start == nullptr ? std::vector<Frame>() : Reader(image, section).Frames();
}

const void* FullEntries(const Image& image) {
  const Section section = image.Find("__eh_frame");
  if (section.start == nullptr) return nullptr;
  const uint8_t* const end = section.start + section.size;
  constexpr uint8_t kEnd[sizeof(uint32_t)] = {};
  if (!image.Holds(end + sizeof kEnd) || std::memcmp(end, kEnd, sizeof kEnd) != 0)
    throw Unusable("behind __eh_frame is not the zero that ends it for this system's unwinder");
  return section.start;
}

}  // namespace MachO
