#pragma once

#include <chrono>
#include <string>

namespace Host {

/// What every command takes.
struct Options {
  std::string extension;  ///< bundle
  std::string pinFile;    ///< "-": standard input; empty: the terminal
  std::string reader;     ///< only this one; empty: all
  bool json = false;
  bool verbose = false;
  bool timing = false;  ///< tell where the time of each request went
  bool sandbox = true;  ///< keep the extension to its entitlements, where the kernel can
  std::chrono::seconds timeout{60};
};

}  // namespace Host
