#pragma once

/// Owner of one library opened with dlopen.
class DynamicLibrary {
 public:
  /// Opens `path` with RTLD_LAZY | RTLD_LOCAL. Throws -1 "Library <name> not found in <path>" when it cannot be opened,
  /// after logging the loader's reason at error level.
  DynamicLibrary(const char* path, const char* name);

  /// Closes the library. Never throws.
  ~DynamicLibrary();

  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// Wraps dlsym: returns the symbol's address, or null when the library does not export it. Never throws.
  void* LoadSymbol(const char* symbol) const noexcept;

 private:
  void* m_handle;
};
