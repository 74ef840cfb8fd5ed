#include "tests/util/IconvSpy.h"

#include <dlfcn.h>
#include <iconv.h>

#include <atomic>
#include <cerrno>
#include <map>
#include <string>

namespace {

std::atomic<int> g_open{0};
std::atomic<int> g_freshStarts{0};
thread_local bool t_opened = false;  // and not used yet
thread_local int t_error = 0;
thread_local bool t_replacing = false;
thread_local int t_replaced = 0;
thread_local std::map<iconv_t, std::string> t_sources;  // of the converters that replace: what they convert from

template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

iconv_t RealOpen(const char* to, const char* from) {
  static const auto real = Real<decltype(iconv_open)>("iconv_open");
  return real(to, from);
}

size_t RealIconv(iconv_t converter, char** input, size_t* inputBytes, char** output, size_t* room) {
  static const auto real = Real<decltype(iconv)>("iconv");
  return real(converter, input, inputBytes, output, room);
}

int RealClose(iconv_t converter) {
  static const auto real = Real<decltype(iconv_close)>("iconv_close");
  return real(converter);
}

/// What one converter makes of the beginning of a text.
struct Converted {
  size_t taken;
  std::string bytes;
};

Converted Once(const char* to, const char* from, const char* text, size_t count) {
  const iconv_t converter = RealOpen(to, from);
  char* input = const_cast<char*>(text);
  size_t left = count;
  char buffer[16];
  char* output = buffer;
  size_t room = sizeof buffer;
  RealIconv(converter, &input, &left, &output, &room);
  RealClose(converter);
  return {count - left, std::string(buffer, output)};
}

/// The length of the character at the beginning of a text in an encoding without shifts; 0 when there is none.
size_t LengthOfCharacter(const std::string& encoding, const char* text, size_t count) {
  for (size_t length = 1; length <= count && length <= 4; ++length) {
    if (Once("UTF-32LE", encoding.c_str(), text, length).taken == length) return length;
  }
  return 0;
}

size_t Replace(iconv_t converter, const std::string& source, char** input, size_t* inputBytes, char** output,
               size_t* room) {
  for (size_t replaced = 0;;) {
    if (RealIconv(converter, input, inputBytes, output, room) != static_cast<size_t>(-1)) return replaced;
    const int error = errno;
    const size_t length = error == EILSEQ ? LengthOfCharacter(source, *input, *inputBytes) : 0;
    errno = error;
    if (length == 0) return static_cast<size_t>(-1);
    std::string mark = Once(source.c_str(), "ASCII", "?", 1).bytes;
    char* position = mark.data();
    size_t left = mark.size();
    if (RealIconv(converter, &position, &left, output, room) == static_cast<size_t>(-1)) return static_cast<size_t>(-1);
    *input += length;
    *inputBytes -= length;
    ++replaced;
    ++t_replaced;
  }
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

Replacing::Replacing() {
  t_replacing = true;
  t_replaced = 0;
}

Replacing::~Replacing() {
  t_replacing = false;
}

int Replacing::Count() const {
  return t_replaced;
}

}  // namespace IconvSpy

extern "C" iconv_t iconv_open(const char* to, const char* from) {
  const iconv_t converter = RealOpen(to, from);
  if (converter != reinterpret_cast<iconv_t>(-1)) {
    ++g_open;
    if (t_replacing) t_sources[converter] = from;
  }
  t_opened = true;
  return converter;
}

extern "C" size_t iconv(iconv_t converter, char** input, size_t* inputBytes, char** output, size_t* room) {
  if (t_opened && input == nullptr && output != nullptr) ++g_freshStarts;
  t_opened = false;
  if (t_error != 0 && input != nullptr) {
    errno = t_error;
    return static_cast<size_t>(-1);
  }
  const auto source = t_sources.find(converter);
  if (source != t_sources.end() && input != nullptr) {
    return Replace(converter, source->second, input, inputBytes, output, room);
  }
  return RealIconv(converter, input, inputBytes, output, room);
}

extern "C" int iconv_close(iconv_t converter) {
  --g_open;
  t_sources.erase(converter);
  return RealClose(converter);
}
