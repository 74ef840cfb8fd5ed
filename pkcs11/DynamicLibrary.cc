#include "pkcs11/DynamicLibrary.h"

#include <dlfcn.h>

#include <string>

#include "log/QELLog.h"
#include "pkcs11/QELTokenException.h"

DynamicLibrary::DynamicLibrary(const char* path, const char* name) : m_handle(dlopen(path, RTLD_LAZY | RTLD_LOCAL)) {
  if (m_handle != nullptr) return;
  const char* reason = dlerror();
  // Its bytes as they are: a path may hold any, and what is not UTF-8 is escaped where the line is written.
  QELLog::Error() << "dlopen error = " << (reason ? reason : "<unavailable>");
  throw QELTokenException(QELTokenError::LibraryNotFound, std::string("Library ") + name + " not found in " + path);
}

DynamicLibrary::~DynamicLibrary() {
  dlclose(m_handle);
}

void* DynamicLibrary::LoadSymbol(const char* symbol) const noexcept {
  return dlsym(m_handle, symbol);
}
