#pragma once

#include <string>
#include <vector>

/// Sends dlopen calls for paths that contain `part` to another library for its lifetime; an empty target makes them
/// fail. The product has fixed library paths and no hook for tests.
class LoaderRedirect {
 public:
  LoaderRedirect(std::string part, std::string target);
  ~LoaderRedirect();
  LoaderRedirect(const LoaderRedirect&) = delete;
  LoaderRedirect& operator=(const LoaderRedirect&) = delete;
};

/// Every path that dlopen was asked for in this process, in order.
const std::vector<std::string>& LoadedPaths();

/// The flags of the latest dlopen call.
int FlagsOfLatestLoad();

/// While it lives, dlerror has nothing to say.
class SilentLoader {
 public:
  SilentLoader();
  ~SilentLoader();
  SilentLoader(const SilentLoader&) = delete;
  SilentLoader& operator=(const SilentLoader&) = delete;
};
