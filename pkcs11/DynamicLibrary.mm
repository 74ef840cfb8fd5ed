#include "pkcs11/DynamicLibrary.h"

#include <dlfcn.h>

#include <string>

#import "pkcs11/Format.h"
#include "pkcs11/QELTokenException.h"

DynamicLibrary::DynamicLibrary(const char *path, const char *name) : m_handle(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {
  if (m_handle != nullptr) return;
  const char *reason = dlerror();
  // As an object: a path in the reason may hold more than ASCII, which %s does not carry on every system.
  Utils::log(QELLog::Error(), @"dlopen error = %@", [NSString stringWithUTF8String:reason ? reason : "<unavailable>"]);
  throw QELTokenException(QELTokenError::LibraryNotFound, std::string("Library ") + name + " not found in " + path);
}

DynamicLibrary::~DynamicLibrary() {
  dlclose(m_handle);
}

void *DynamicLibrary::LoadSymbol(const char *symbol) const noexcept {
  return dlsym(m_handle, symbol);
}
