// Writes the unwinder's table: for each function the rules that the compact encoding stands for.

#include <cstring>

#include "platform/macho/Loading.h"
#include "platform/macho/UnwindInfo.h"

extern "C" void __register_frame_table(const void** tables);

namespace MachO {
namespace {

using Bytes = std::vector<uint8_t>;

/// What a function's record refers to. Pointers are addresses, and may be null.
struct __attribute__((packed)) Common {
  uint32_t length = 0, kind = 0;
  uint8_t version = 1;
  char augmentation[5] = "zPLR";
  uint8_t codeUnit = 1, dataUnit = 0x78;  // minus eight
  uint8_t returnRegister = kReturnRegister;
  uint8_t augmentationSize = 11, personalityEncoding = 0;
  const void* personality = nullptr;
  uint8_t handlersEncoding = 0, functionEncoding = 0;
};

struct __attribute__((packed)) Function {
  uint32_t length, toCommon;
  const uint8_t* start;
  uint64_t size;
  uint8_t augmentationSize;
  const void* handlers;
};

/// Appends the record and what follows it, up to a multiple of eight bytes: 0 is an instruction that does nothing.
template <typename Record>
void Append(Bytes& table, Record record, const Bytes& instructions) {
  const size_t used = sizeof record + instructions.size(), size = (used + 7) / 8 * 8;
  record.length = static_cast<uint32_t>(size - sizeof record.length);
  const auto* const bytes = reinterpret_cast<const uint8_t*>(&record);
  table.insert(table.end(), bytes, bytes + sizeof record);
  table.insert(table.end(), instructions.begin(), instructions.end());
  table.insert(table.end(), size - used, 0);
}

void AppendNumber(Bytes& bytes, uint64_t value) {
  for (; value >= 0x80; value >>= 7) bytes.push_back(static_cast<uint8_t>(value | 0x80));
  bytes.push_back(static_cast<uint8_t>(value));
}

}  // namespace

void FrameRules::Kept(uint8_t number, uint64_t units) {
  constexpr uint8_t kAtOffset = 0x05;
  instructions.insert(instructions.end(), {kAtOffset, number});
  AppendNumber(instructions, units);
}

void FrameRules::Address(uint8_t number, uint64_t bytes) {
  constexpr uint8_t kFrameAddress = 0x0C;
  instructions.insert(instructions.end(), {kFrameAddress, number});
  AppendNumber(instructions, bytes);
}

void RegisterFrames(const Image& image) {
  static Bytes table;  // the unwinder reads it as long as the process lives
  for (const Frame& frame : FramesOf(image)) {
    const FrameRules rules = RulesOf(frame);
    if (rules.instructions.empty()) continue;
    const size_t place = table.size();
    Common common;
    common.personality = frame.personality;
    Append(table, common, {});
    const auto toCommon = static_cast<uint32_t>(table.size() + sizeof(uint32_t) - place);
    Append(table, Function{0, toCommon, frame.start, frame.size, 8, frame.handlers}, rules.instructions);
  }
  table.insert(table.end(), sizeof(uint32_t), 0);
  // GCC's unwinder asks the first that begins before an address and no other, so that the two are registered as one.
  static const void* tables[] = {table.data(), FullEntries(image), nullptr};
  __register_frame_table(tables);
}

}  // namespace MachO
