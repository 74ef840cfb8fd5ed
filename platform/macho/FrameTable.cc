// Writes the unwinder's table. GCC's unwinder takes the first registered table that begins before an address, so that
// there must be one for the whole image; what the image has of its own, for the functions whose frames fit no compact
// encoding, is copied into it.

#include <cstring>

#include "platform/macho/UnwindInfo.h"

extern "C" void __register_frame(void*);

namespace MachO {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kAddressFollows = 0x00, kKept = 0x80, kFrameAddress = 0x0C;
constexpr uint8_t kUnits[] = {1, 0x78};  // of code and of data: one byte, and minus eight

template <typename Value>
void Append(Bytes& bytes, Value value) {
  uint8_t raw[sizeof value];
  std::memcpy(raw, &value, sizeof value);
  bytes.insert(bytes.end(), raw, raw + sizeof value);
}

uint64_t TakeNumber(const uint8_t*& at) {
  uint64_t value = 0;
  for (int shift = 0;; shift += 7) {
    value |= uint64_t{*at & 0x7Fu} << shift;
    if (!(*at++ & 0x80)) return value;
  }
}

/// A record of the table, with its length before it; 0 is an instruction that does nothing.
void AppendRecord(Bytes& table, Bytes record) {
  while ((record.size() + 4) % 8 != 0) record.push_back(0);
  Append(table, static_cast<uint32_t>(record.size()));
  table.insert(table.end(), record.begin(), record.end());
}

/// The function's rules and the function, as two records.
void AppendFrame(Bytes& table, const Frame& frame, const FrameRules& rules) {
  const size_t common = table.size();
  Bytes record;
  Append(record, uint32_t{0});
  record.push_back(1);
  const char* const augmentation = frame.personality != nullptr ? "zPLR" : "zR";
  record.insert(record.end(), augmentation, augmentation + std::strlen(augmentation) + 1);
  record.insert(record.end(), std::begin(kUnits), std::end(kUnits));
  record.push_back(rules.returnRegister);
  AppendNumber(record, frame.personality != nullptr ? 1 + sizeof(void*) + 1 + 1 : 1);
  if (frame.personality != nullptr) {
    record.push_back(kAddressFollows);
    Append(record, frame.personality);
    record.push_back(kAddressFollows);
  }
  record.push_back(kAddressFollows);
  AppendRecord(table, record);

  record.clear();
  Append(record, static_cast<uint32_t>(table.size() + 4 - common));
  Append(record, frame.start);
  Append(record, static_cast<uint64_t>(frame.end - frame.start));
  AppendNumber(record, frame.personality != nullptr ? sizeof(void*) : 0);
  if (frame.personality != nullptr) Append(record, frame.handlers);
  record.insert(record.end(), rules.instructions.begin(), rules.instructions.end());
  AppendRecord(table, record);
}

/// A pointer that is a distance from itself, of 4 or 8 bytes; null for 0.
const uint8_t* TakePointer(const uint8_t*& at, uint8_t encoding) {
  constexpr uint8_t kFromHere = 0x10, kFourBytes = 0x0B, kIndirect = 0x80;
  const uint8_t* const from = at;
  int64_t distance = 0;
  if ((encoding & 0x0F) == kFourBytes) {
    int32_t four = 0;
    std::memcpy(&four, at, sizeof four);
    distance = four;
    at += sizeof four;
  } else {
    std::memcpy(&distance, at, sizeof distance);
    at += sizeof distance;
  }
  if ((encoding & 0x70) != kFromHere) throw Unusable("__eh_frame holds a pointer of an unknown encoding");
  if (distance == 0) return nullptr;
  const uint8_t* const target = from + distance;
  return encoding & kIndirect ? *reinterpret_cast<const uint8_t* const*>(target) : target;
}

uint32_t LengthAt(const uint8_t* record) {
  uint32_t length = 0;
  std::memcpy(&length, record, sizeof length);
  return length;
}

/// Reads the image's own entry for a function whose frame has no compact encoding.
void ReadFullEntry(const Image& image, uint32_t offset, Frame& frame, FrameRules& rules) {
  const Section section = image.Find("__eh_frame");
  if (offset >= section.size) throw Unusable("__unwind_info refers to an entry that __eh_frame lacks");
  const uint8_t* const function = section.start + offset;
  const uint8_t* const functionEnd = function + 4 + LengthAt(function);
  const uint8_t* const common = function + 4 - LengthAt(function + 4);
  const uint8_t* const commonEnd = common + 4 + LengthAt(common);
  const std::string augmentation = reinterpret_cast<const char*>(common + 9);
  const uint8_t* at = common + 9 + augmentation.size() + 1;
  if (augmentation.empty() || augmentation[0] != 'z' || at[0] != kUnits[0] || at[1] != kUnits[1])
    throw Unusable("an entry of __eh_frame is of an unknown kind");
  rules.returnRegister = at[2];
  at += 3;
  const uint64_t size = TakeNumber(at);
  const uint8_t* const initial = at + size;
  uint8_t pointers = 0x10, handlers = 0xFF;
  for (const char letter : augmentation.substr(1)) {
    const uint8_t encoding = *at++;
    if (letter == 'P') frame.personality = TakePointer(at, encoding);
    if (letter == 'L') handlers = encoding;
    if (letter == 'R') pointers = encoding;
  }
  at = function + 8;
  TakePointer(at, pointers);
  at += (pointers & 0x0F) == 0x0B ? 4 : 8;
  const uint64_t own = TakeNumber(at);
  const uint8_t* const instructions = at + own;
  if (handlers != 0xFF) frame.handlers = TakePointer(at, handlers);
  rules.instructions.assign(initial, commonEnd);
  rules.instructions.insert(rules.instructions.end(), instructions, functionEnd);
}

}  // namespace

void AppendNumber(Bytes& bytes, uint64_t value) {
  for (; value >= 0x80; value >>= 7) bytes.push_back(static_cast<uint8_t>(value | 0x80));
  bytes.push_back(static_cast<uint8_t>(value));
}

void KeptAt(Bytes& instructions, uint8_t number, uint64_t units) {
  constexpr uint8_t kKeptLong = 0x05, kMostShort = 0x3F;
  if (number > kMostShort) instructions.push_back(kKeptLong);
  instructions.push_back(number > kMostShort ? number : kKept | number);
  AppendNumber(instructions, units);
}

void FrameAddress(Bytes& instructions, uint8_t number, uint64_t bytes) {
  instructions.push_back(kFrameAddress);
  AppendNumber(instructions, number);
  AppendNumber(instructions, bytes);
}

void RegisterFrames(const Image& image) {
  static Bytes table;  // the unwinder reads it as long as the process lives
  for (Frame frame : FramesOf(image)) {
    FrameRules rules = RulesOf(frame);
    if (rules.fullEntry != 0 || rules.instructions.empty()) ReadFullEntry(image, rules.fullEntry, frame, rules);
    AppendFrame(table, frame, rules);
  }
  if (table.empty()) return;
  Append(table, uint32_t{0});
  __register_frame(table.data());
}

}  // namespace MachO
