#include "tests/support/LoaderRedirect.h"

#include <dlfcn.h>

#include <utility>

namespace {

std::vector<std::pair<std::string, std::string>>& Redirects() {
  static std::vector<std::pair<std::string, std::string>> redirects;
  return redirects;
}

std::vector<std::string>& Paths() {
  static std::vector<std::string> paths;
  return paths;
}

int s_latestFlags = 0;
bool s_silent = false;

// Looked up ahead: the look-up itself would take back what there is to say.
const auto s_dlerror = reinterpret_cast<char* (*)()>(dlsym(RTLD_NEXT, "dlerror"));

}  // namespace

LoaderRedirect::LoaderRedirect(std::string part, std::string target) {
  Redirects().emplace_back(std::move(part), std::move(target));
}

LoaderRedirect::~LoaderRedirect() {
  Redirects().pop_back();
}

const std::vector<std::string>& LoadedPaths() {
  return Paths();
}

int FlagsOfLatestLoad() {
  return s_latestFlags;
}

SilentLoader::SilentLoader() {
  s_silent = true;
}

SilentLoader::~SilentLoader() {
  s_silent = false;
}

// The test program's definitions win over the system's and forward to them.
extern "C" void* dlopen(const char* path, int flags) {
  using DlopenFn = void* (*)(const char*, int);
  static const auto real = reinterpret_cast<DlopenFn>(dlsym(RTLD_NEXT, "dlopen"));
  if (path == nullptr) return real(path, flags);
  Paths().emplace_back(path);
  s_latestFlags = flags;
  for (auto redirect = Redirects().rbegin(); redirect != Redirects().rend(); ++redirect) {
    if (std::string(path).find(redirect->first) == std::string::npos) continue;
    return real(redirect->second.empty() ? "/nonexistent" : redirect->second.c_str(), flags);
  }
  return real(path, flags);
}

extern "C" char* dlerror() {
  // A sanitizer asks before this file is initialised.
  return s_silent || s_dlerror == nullptr ? nullptr : s_dlerror();
}
