// Where the C library of this system and the one that the code was compiled for differ. Rows of imports.txt lead here.

#include <QELBuildConstants.h>
#include <dlfcn.h>
#include <iconv.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>
#include <wctype.h>

#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/// The system's /Library is a folder of the build's here, or what the environment names.
std::string OnThisSystem(const std::string& path) {
  const std::string library = "/Library";
  return path.rfind(library + "/", 0) == 0 ? QELInLibrary(path.c_str() + library.size()) : path;
}

}  // namespace

extern "C" {

// errno: of its numbers the product compares one, of conversions.

size_t macos_iconv(iconv_t converter, char** in, size_t* inLeft, char** out, size_t* outLeft) {
  constexpr int kIllegalSequence = 92;
  const size_t result = iconv(converter, in, inLeft, out, outLeft);
  if (result == static_cast<size_t>(-1) && errno == EILSEQ) errno = kIllegalSequence;
  return result;
}

// Users: the structure has more members.

struct macos_passwd {
  char *name, *password;
  uint32_t user, group;
  int64_t change;
  char *accessClass, *fullName, *home, *shell;
  int64_t expiration;
};

macos_passwd* macos_getpwuid(uint32_t user) {
  static char empty[] = "";
  static macos_passwd answer;
  const passwd* found = getpwuid(user);
  if (found == nullptr) return nullptr;
  answer = {found->pw_name, found->pw_passwd, found->pw_uid, found->pw_gid,   0,
            empty,          found->pw_gecos,  found->pw_dir, found->pw_shell, 0};
  return &answer;
}

// The system's name: the fields are longer.

struct macos_utsname {
  char system[256], node[256], release[256], version[256], machine[256];
};

int macos_uname(macos_utsname* name) {
  utsname found{};
  const int result = uname(&found);
  *name = {};
  std::strcpy(name->system, found.sysname);
  std::strcpy(name->node, found.nodename);
  std::strcpy(name->release, found.release);
  std::strcpy(name->version, found.version);
  std::strcpy(name->machine, found.machine);
  return result;
}

// Files and libraries.

FILE* macos_fopen(const char* path, const char* mode) {
  return fopen(OnThisSystem(path).c_str(), mode);
}

void* macos_dlopen(const char* path, int flags) {
  constexpr int kNow = 0x2, kGlobal = 0x8, kKnown = 0xF;
  if (flags & ~kKnown) {
    std::fprintf(stderr, "dlopen with flags 0x%x, which are not known here\n", static_cast<unsigned>(flags));
    std::abort();
  }
  const int here = (flags & kNow ? RTLD_NOW : RTLD_LAZY) | (flags & kGlobal ? RTLD_GLOBAL : RTLD_LOCAL);
  return dlopen(path != nullptr ? OnThisSystem(path).c_str() : nullptr, here);
}

// Locales: the categories have other numbers, and a variable holds what is a function here.

int macos_mb_cur_max = 1;

char* macos_setlocale(int category, const char* name) {
  constexpr int kHere[] = {LC_ALL, LC_COLLATE, LC_CTYPE, LC_MONETARY, LC_NUMERIC, LC_TIME, LC_MESSAGES};
  if (category < 0 || category >= static_cast<int>(sizeof kHere / sizeof *kHere)) return nullptr;
  char* const chosen = setlocale(kHere[category], name);
  macos_mb_cur_max = static_cast<int>(MB_CUR_MAX);
  return chosen;
}

// Kinds of characters: isalpha() and the like are inline functions there, over this table for ASCII and over a function
// for the rest.

uint32_t macos_maskrune(int character, uint32_t mask);

struct macos_RuneLocale {
  char others[60];
  uint32_t kinds[256];
  int32_t lower[256], upper[256];
};

uint32_t macos_maskrune(int character, uint32_t mask) {
  constexpr struct {
    int (*isOfKind)(wint_t);
    uint32_t mask;
  } kKinds[] = {{iswalpha, 0x100},    {iswcntrl, 0x200},   {iswdigit, 0x400},  {iswgraph, 0x800},
                {iswlower, 0x1000},   {iswpunct, 0x2000},  {iswspace, 0x4000}, {iswupper, 0x8000},
                {iswxdigit, 0x10000}, {iswblank, 0x20000}, {iswprint, 0x40000}};
  uint32_t found = 0;
  for (const auto& kind : kKinds)
    if (kind.isOfKind(static_cast<wint_t>(character))) found |= kind.mask;
  return found & mask;
}

macos_RuneLocale macos_DefaultRuneLocale = [] {
  macos_RuneLocale table = {};
  for (int c = 0; c < 128; ++c) table.kinds[c] = macos_maskrune(c, UINT32_MAX);
  return table;
}();

// Mutexes of the C++ library: the other system's begin with a number of their own, this system's with zeros.

static pthread_mutex_t* OnThisSystem(void* mutex) {
  constexpr int64_t kNeverUsed = 0x32AAABA7;
  auto* const first = static_cast<std::atomic<int64_t>*>(mutex);
  int64_t expected = kNeverUsed;
  first->compare_exchange_strong(expected, 0);
  return static_cast<pthread_mutex_t*>(mutex);
}

int macos_mutex_lock(void* mutex) {
  return pthread_mutex_lock(OnThisSystem(mutex));
}
int macos_mutex_unlock(void* mutex) {
  return pthread_mutex_unlock(OnThisSystem(mutex));
}

// What the compiler's own code asks for.
uintptr_t macos_stack_chk_guard = 0x7D1E5A3C00B4F960;

}  // extern "C"
