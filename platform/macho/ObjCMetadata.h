/// How the compiler lays out classes for Apple's runtime.

#pragma once

#include "platform/macho/Image.h"

namespace MachO {

constexpr uint32_t kRelativeMethods = 0x80000000, kDirectSelectors = 0x40000000;  // in a method list's entry size

struct List {
  uint32_t entrySizeAndFlags, count;
};

/// The entries of a list, which may be null.
template <typename Entry>
Array<const Entry> EntriesOf(const List* list) {
  if (list == nullptr) return {nullptr, nullptr};
  if ((list->entrySizeAndFlags & 0xFFFC) != sizeof(Entry))
    throw Unusable("a list of a class has entries of another size");
  const auto* const first = reinterpret_cast<const Entry*>(list + 1);
  return {first, first + list->count};
}

struct MethodEntry {
  const char *name, *types;
  void* implementation;
};

/// Each is the distance from itself; the name's leads to a selector's reference, or to the name with kDirectSelectors.
struct RelativeMethodEntry {
  int32_t name, types, implementation;
};

#ifdef __x86_64__
using IvarOffset = int64_t;
#else
using IvarOffset = int32_t;
#endif

struct IvarEntry {
  IvarOffset* offset;
  const char *name, *type;
  uint32_t alignment, size;  ///< the alignment as a power of two
};

struct ProtocolRecord {
  void* isa;
  const char* name;
};

struct ProtocolList {
  uint64_t count;
  ProtocolRecord* protocols[1];
};

struct ClassContents {
  uint32_t flags, instanceStart, instanceSize, reserved;
  const uint8_t* ivarLayout;
  const char* name;
  const List* methods;
  const ProtocolList* protocols;
  const List* ivars;
};

struct ClassRecord {
  ClassRecord *metaclass, *superclass;
  void *cache, *vtable;
  uint64_t contents;

  const ClassContents& Contents() const { return *reinterpret_cast<const ClassContents*>(contents & ~uint64_t{7}); }
};

struct CategoryRecord {
  const char* name;
  ClassRecord* extended;
  const List *instanceMethods, *classMethods;
  const ProtocolList* protocols;
};

}  // namespace MachO
