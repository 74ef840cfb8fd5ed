#include "tests/util/IconvSpy.h"

#include <dlfcn.h>
#include <iconv.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<int> g_open{0};
std::atomic<int> g_freshStarts{0};
thread_local bool t_opened = false;  // and not used yet
thread_local int t_error = 0;

template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace IconvSpy {

int OpenConverters() {
  return g_open;
}

int FreshStarts() {
  return g_freshStarts;
}

Failing::Failing(int error) {
  t_error = error;
}

Failing::~Failing() {
  t_error = 0;
}

}  // namespace IconvSpy

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  static const auto real = Real<decltype(iconv_open)>("iconv_open");
  const iconv_t converter = real(to, from);
  if (converter != reinterpret_cast<iconv_t>(-1)) ++g_open;
  t_opened = true;
  return converter;
}

extern "C" size_t iconv(iconv_t converter, char** input, size_t* inputBytes, char** output, size_t* room) {
  static const auto real = Real<decltype(iconv)>("iconv");
  if (t_opened && input == nullptr && output != nullptr) ++g_freshStarts;
  t_opened = false;
  if (t_error != 0 && input != nullptr) {
    errno = t_error;
    return static_cast<size_t>(-1);
  }
  return real(converter, input, inputBytes, output, room);
}

extern "C" int iconv_close(iconv_t converter) {
  static const auto real = Real<decltype(iconv_close)>("iconv_close");
  --g_open;
  return real(converter);
}
