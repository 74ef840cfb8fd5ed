#include "tests/systemfaults/SystemFaults.h"

#include <dlfcn.h>
#include <iconv.h>
#include <pwd.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace {

using SystemFaults::Function;

thread_local bool t_watched = false;
thread_local Function t_failing = SystemFaults::kFunctions;
thread_local int t_occurrence = 0;
thread_local std::array<int, SystemFaults::kFunctions> t_calls{};

/// Counts a call; returns whether it is to fail.
bool Fails(Function function) {
  if (!t_watched) return false;
  return ++t_calls[function] == t_occurrence && function == t_failing;
}

template <typename Type>
Type* Next(const char* name) {
  return reinterpret_cast<Type*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace SystemFaults {

const char* NameOf(Function function) {
  static constexpr const char* kNames[] = {"iconv_open", "iconv", "fopen", "fwrite", "getpwuid", "setlocale", "new"};
  return kNames[function];
}

Watch::Watch(Function function, int occurrence) {
  t_calls = {};
  t_failing = function;
  t_occurrence = occurrence;
  t_watched = true;
}

Watch::~Watch() {
  t_watched = false;
}

int Calls(Function function) {
  return t_calls[function];
}

}  // namespace SystemFaults

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto next = Next<decltype(iconv_open)>("iconv_open");
  if (!Fails(SystemFaults::IconvOpen)) return next(to, from);
  errno = EMFILE;
  return reinterpret_cast<iconv_t>(-1);
}

extern "C" size_t iconv(iconv_t converter, char** input, size_t* inputBytes, char** output, size_t* room) {
  static const auto next = Next<decltype(iconv)>("iconv");
  // Putting a converter into its initial state does not fail.
  if (input == nullptr || !Fails(SystemFaults::Iconv)) return next(converter, input, inputBytes, output, room);
  errno = EBADF;
  return static_cast<size_t>(-1);
}

extern "C" FILE* fopen(const char* path, const char* mode) {
  static const auto next = Next<decltype(fopen)>("fopen");
  if (!Fails(SystemFaults::FOpen)) return next(path, mode);
  errno = EMFILE;
  return nullptr;
}

extern "C" size_t fwrite(const void* bytes, size_t size, size_t count, FILE* file) {
  static const auto next = Next<decltype(fwrite)>("fwrite");
  if (!Fails(SystemFaults::FWrite)) return next(bytes, size, count, file);
  errno = ENOSPC;
  return 0;
}

extern "C" passwd* getpwuid(uid_t user) {
  static const auto next = Next<decltype(getpwuid)>("getpwuid");
  if (!Fails(SystemFaults::GetPwUid)) {
    passwd* const entry = next(user);
    if (entry != nullptr) entry->pw_dir = std::getenv("HOME");  // nobody's own settings
    return entry;
  }
  errno = EIO;
  return nullptr;
}

extern "C" char* setlocale(int category, const char* locale) noexcept {
  static const auto next = Next<decltype(setlocale)>("setlocale");
  return Fails(SystemFaults::SetLocale) ? nullptr : next(category, locale);
}

void* operator new(size_t size) {
  void* const memory = Fails(SystemFaults::New) ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}
