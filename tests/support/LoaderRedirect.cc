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

// The test program's definition wins over the system's and forwards to it.
extern "C" void* dlopen(const char* path, int flags) {
  using DlopenFn = void* (*)(const char*, int);
  static const auto real = reinterpret_cast<DlopenFn>(dlsym(RTLD_NEXT, "dlopen"));
  if (path == nullptr) return real(path, flags);
  Paths().emplace_back(path);
  for (auto redirect = Redirects().rbegin(); redirect != Redirects().rend(); ++redirect) {
    if (std::string(path).find(redirect->first) == std::string::npos) continue;
    return real(redirect->second.empty() ? "/nonexistent" : redirect->second.c_str(), flags);
  }
  return real(path, flags);
}
