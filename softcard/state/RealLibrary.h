#ifndef SOFTCARD_REALLIBRARY_H
#define SOFTCARD_REALLIBRARY_H

#include <filesystem>
#include <optional>
#include <string>

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

/// What it takes to use a real PKCS#11 library: the soft card's library does, and so does the program that makes cards.

/// Loads a PKCS#11 library. Throws std::runtime_error, naming the file and, where one is known, the package.
void* OpenLibrary(const std::string& path);

/// The folders, below that of a state, in which SoftHSM2 and NSS softoken keep tokens: a folder each.
inline constexpr const char* kTokenStores[] = {"tokens", "nss"};

/// Makes what SoftHSM2 needs to keep its tokens below `directory`: a folder and a configuration file.
/// Returns the configuration file's path. Throws std::runtime_error, naming what could not be made.
std::string PrepareTokenStore(const std::filesystem::path& directory);

/// C_Initialize of a library. With parameters, it gets a copy of the arguments with that string in `pReserved`;
/// otherwise the arguments go on unchanged.
CK_RV InitializeWithParameters(CK_FUNCTION_LIST* library, const std::string& parameters, void* arguments);

/// An environment variable that has another value, or none, until the end of the scope.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const std::optional<std::string>& value);
  ~ScopedEnvironment();
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* m_name;
  std::optional<std::string> m_before;
};

}  // namespace SoftCard

#endif
