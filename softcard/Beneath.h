#ifndef SOFTCARD_BENEATH_H
#define SOFTCARD_BENEATH_H

#include <optional>

#include "softcard/Pkcs11.h"
#include "softcard/State.h"

namespace SoftCard {

/// Loads a PKCS#11 library. Throws std::runtime_error, naming the file and, where one is known, the package.
void* OpenLibrary(const std::string& path);

/// Loads the library beneath that `state` names (SoftHSM2 where the system has it when it names none), unless it is
/// loaded already. It stays loaded until the process ends.
/// Throws std::runtime_error, naming the file, when there is none.
void LoadBeneath(const State& state);

/// The function list of the library beneath; LoadBeneath comes first.
CK_FUNCTION_LIST* Beneath();

/// Makes what SoftHSM2 needs to keep its tokens below `directory`: a folder and a configuration file.
/// Returns the configuration file's path. Throws std::runtime_error, naming what could not be made.
std::string PrepareTokenStore(const std::filesystem::path& directory);

/// The parameter string for the library beneath: the configured one, or what NSS softoken needs for the cards kept in
/// `directory`; empty when it wants none. Throws as SoftokenParameters does.
std::string ParametersBeneath(const std::filesystem::path& directory, const State& state);

/// C_Initialize of a library. With parameters, it gets a copy of the arguments with that string in `pReserved`;
/// otherwise the arguments go on unchanged.
CK_RV InitializeWithParameters(CK_FUNCTION_LIST* library, const std::string& parameters, void* arguments);

/// The same for the library beneath, which is then finalized when the process's exit begins.
CK_RV InitializeBeneath(const std::string& parameters, void* arguments);

/// C_Finalize of the library beneath. CKR_OK without a call once the process's exit has ended that library.
CK_RV FinalizeBeneath(void* reserved);

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
