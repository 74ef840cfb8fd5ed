// What the unit tests call of the C library besides the product, where the two systems differ. Rows of imports.txt lead
// here.

#include <dlfcn.h>

#include <cstdint>
#include <string>

#include "platform/macho/Loading.h"

namespace {

constexpr size_t kThreadVariables = 4096;
alignas(16) thread_local uint8_t t_variables[kThreadVariables];

}  // namespace

extern "C" {

// Variables of a thread: a descriptor holds a function that finds the variable. All that the tests have begin as zeros.

struct macos_ThreadVariable {
  void* find;
  uint64_t key, offset;
};

void* macos_thread_variable(const macos_ThreadVariable* descriptor) {
  return &t_variables[descriptor->offset];
}

int __cxa_thread_atexit_impl(void (*end)(void*), void* object, void* library);
extern void* __dso_handle;
void macos_tlv_atexit(void (*end)(void*), void* object) {
  __cxa_thread_atexit_impl(end, object, &__dso_handle);
}

// What the program was called with, asked for anywhere.

static int s_argumentCount = 0;
static char** s_arguments = nullptr;
__attribute__((constructor)) static void KeepArguments(int count, char** arguments) {
  s_argumentCount = count;
  s_arguments = arguments;
}
int* macos_NSGetArgc() {
  return &s_argumentCount;
}
char*** macos_NSGetArgv() {
  return &s_arguments;
}

// Functions looked up in all libraries, or in those behind this one, are those that imports lead to.

void* macos_dlsym(void* library, const char* name) {
  const auto number = reinterpret_cast<intptr_t>(library);
  constexpr intptr_t kNext = -1, kDefault = -2;
  return number == kNext || number == kDefault ? MachO::ReadImports()({}, std::string("_") + name)
                                               : dlsym(library, name);
}

}  // extern "C"
