// The older way to write fixups down: programs of one-byte instructions with operands in the low four bits or behind.

#include "platform/macho/Loading.h"

namespace MachO {
namespace {

/// Reads a program, and keeps what both kinds of programs set: the place of the next pointer.
class Program {
 public:
  Program(const Image& image, LinkerData data) : m_image(image), m_at(image.InFile(data)), m_end(m_at + data.size) {}

  bool AtEnd() const { return m_at == m_end; }
  uint8_t Byte() { return AtEnd() ? throw Unusable("the fixups end too early") : *m_at++; }

  uint64_t Number() {
    uint64_t value = 0;
    for (int shift = 0;; shift += 7) {
      const uint8_t byte = Byte();
      value |= uint64_t{byte & 0x7Fu} << (shift & 63);
      if (!(byte & 0x80)) return value;
    }
  }

  std::string Text() {
    const std::string text(reinterpret_cast<const char*>(m_at));
    m_at += text.size() + 1;
    return text;
  }

  void SetPlace(uint8_t segment) { m_place = m_image.SegmentAt(segment) + Number(); }
  void Skip(uint64_t bytes) { m_place += bytes; }
  /// The pointer at the place, which is then behind it and a gap.
  uint64_t& TakePointer(uint64_t skipped) {
    uint64_t& pointer = PointerAt(m_image, m_place);
    m_place += sizeof pointer + skipped;
    return pointer;
  }

 private:
  const Image& m_image;
  const uint8_t *m_at, *m_end;
  uint8_t* m_place = nullptr;
};

/// Answers false at the end.
bool RebaseStep(Program& program, const Image& image) {
  const uint8_t byte = program.Byte(), operand = byte & 0x0F, code = byte >> 4;
  if (code == 0) return false;
  if (code == 1 && operand != 1) throw Unusable("a rebased place is no pointer");
  if (code == 2) program.SetPlace(operand);
  if (code == 3) program.Skip(program.Number());
  if (code == 4) program.Skip(operand * sizeof(uint64_t));
  if (code > 8) throw Unusable("an opcode of the rebasing is unknown");
  if (code < 5) return true;
  // So many, more of them, one with a gap, so many with gaps.
  const uint64_t count = code == 5 ? operand : code == 7 ? 1 : program.Number();
  const uint64_t skipped = code >= 7 ? program.Number() : 0;
  for (uint64_t i = 0; i < count; ++i) {
    uint64_t& pointer = program.TakePointer(skipped);
    // The highest byte is no part of the address; on arm64 the compiler marks names of types in it.
    constexpr uint64_t kMark = uint64_t{0xFF} << 56;
    pointer = reinterpret_cast<uint64_t>(image.At(pointer & ~kMark)) | (pointer & kMark);
  }
  return true;
}

struct Binding {
  int64_t ordinal = 0;
  uint64_t addend = 0;
  std::string symbol;
};

/// Answers false at the end, which lazy pointers have behind each.
bool BindStep(Program& program, Binding& binding, const Image& image, const Resolver& resolve) {
  const uint8_t byte = program.Byte(), operand = byte & 0x0F, code = byte >> 4;
  if (code == 0) return false;
  if (code == 1) binding.ordinal = operand;
  if (code == 2) binding.ordinal = static_cast<int64_t>(program.Number());
  if (code == 3) binding.ordinal = operand == 0 ? 0 : operand - 16;  // a special one, below zero
  if (code == 4) binding.symbol = program.Text();
  if (code == 5 && operand != 1) throw Unusable("a bound place is no pointer");
  if (code == 6) binding.addend = program.Number();  // linkers write none below zero
  if (code == 7) program.SetPlace(operand);
  if (code == 8) program.Skip(program.Number());
  if (code > 12) throw Unusable("an opcode of the binding is unknown");
  if (code < 9) return true;
  // One, one with a gap, one with a gap of so many pointers, so many with gaps.
  const uint64_t count = code == 12 ? program.Number() : 1;
  const uint64_t skipped = code == 9 ? 0 : code == 11 ? operand * sizeof(uint64_t) : program.Number();
  for (uint64_t i = 0; i < count; ++i)
    program.TakePointer(skipped) = AddressOf(image, resolve, binding.ordinal, binding.symbol) + binding.addend;
  return true;
}

}  // namespace

void ApplyOpcodes(const Image& image, const Resolver& resolve) {
  const auto& programs = image.Opcodes();
  Program rebasing(image, programs[0]);
  while (!rebasing.AtEnd() && RebaseStep(rebasing, image)) continue;
  // The third is of definitions that another image may override. Here none does: what the image defines stays, and what
  // it does not define is bound by the others.
  for (const bool lazy : {false, true}) {
    Program program(image, programs[lazy ? 3 : 1]);
    Binding binding;
    while (!program.AtEnd() && (BindStep(program, binding, image, resolve) || lazy)) continue;
  }
}

}  // namespace MachO
