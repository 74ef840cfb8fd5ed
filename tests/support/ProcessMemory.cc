#include "tests/support/ProcessMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace {

constexpr char kMask = 0x55;
constexpr size_t kBlock = 1 << 20;
constexpr uint64_t kShadow = uint64_t{4} << 30;

struct Range {
  uint64_t begin, end;
};

std::vector<Range> WritableRanges(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  std::vector<Range> ranges;
  for (std::string line; std::getline(maps, line);) {
    Range range{};
    char access[5] = "";
    if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &range.begin, &range.end, access) != 3) continue;
    if (access[0] == 'r' && access[1] == 'w' && range.end - range.begin < kShadow) ranges.push_back(range);
  }
  return ranges;
}

/// What is read of the memory, in a mapping of its own, so that a process that reads itself can leave it out.
class Window {
 public:
  Window()
      : m_bytes(static_cast<unsigned char*>(
            mmap(nullptr, kBlock, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {}
  ~Window() { munmap(m_bytes, kBlock); }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  unsigned char* Bytes() { return m_bytes; }
  uint64_t Begin() const { return reinterpret_cast<uint64_t>(m_bytes); }
  uint64_t End() const { return Begin() + kBlock; }

 private:
  unsigned char* m_bytes;
};

int CopiesInRange(int memory, Range range, const HiddenText& text, Window& window) {
  int copies = 0;
  for (uint64_t at = range.begin; at < range.end;) {
    const size_t wanted = std::min<uint64_t>(kBlock, range.end - at);
    const ssize_t read = pread(memory, window.Bytes(), wanted, static_cast<off_t>(at));
    if (read < static_cast<ssize_t>(text.Length())) return copies;
    const size_t starts = static_cast<size_t>(read) - text.Length() + 1;
    const unsigned char* const end = window.Bytes() + starts;
    const auto next = [&](const unsigned char* from) {
      return static_cast<const unsigned char*>(std::memchr(from, text.First(), static_cast<size_t>(end - from)));
    };
    for (const unsigned char* found = next(window.Bytes()); found; found = next(found + 1))
      copies += text.StandsAt(found);
    at += starts;  // the next block begins with what could not be a start here
  }
  return copies;
}

}  // namespace

HiddenText::HiddenText(std::string& text) : m_masked(text) {
  for (char& byte : m_masked) byte = static_cast<char>(byte ^ kMask);
  volatile char* original = text.data();
  for (size_t i = 0; i < text.size(); ++i) original[i] = 0;
}

char HiddenText::First() const {
  return static_cast<char>(m_masked[0] ^ kMask);
}

bool HiddenText::StandsAt(const unsigned char* bytes) const {
  for (size_t i = 0; i < m_masked.size(); ++i) {
    if (static_cast<char>(bytes[i] ^ kMask) != m_masked[i]) return false;
  }
  return true;
}

int CopiesInMemory(pid_t process, const HiddenText& text) {
  const int memory = open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDONLY | O_CLOEXEC);
  if (memory < 0) return -1;
  Window window;
  int copies = 0;
  for (const Range& range : WritableRanges(process)) {
    // The kernel may have joined the window with its neighbours.
    if (process == getpid() && range.begin < window.End() && window.Begin() < range.end) {
      copies += CopiesInRange(memory, {range.begin, window.Begin()}, text, window);
      copies += CopiesInRange(memory, {window.End(), range.end}, text, window);
    } else {
      copies += CopiesInRange(memory, range, text, window);
    }
  }
  close(memory);
  return copies;
}
