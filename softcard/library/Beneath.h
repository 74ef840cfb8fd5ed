#ifndef SOFTCARD_BENEATH_H
#define SOFTCARD_BENEATH_H

#include "softcard/state/RealLibrary.h"
#include "softcard/state/State.h"

namespace SoftCard {

/// Loads the library beneath that `state` names (SoftHSM2 where the system has it when it names none), unless it is
/// loaded already. It stays loaded until the process ends.
/// Throws std::runtime_error, naming the file, when there is none.
void LoadBeneath(const State& state);

/// The function list of the library beneath; LoadBeneath comes first.
CK_FUNCTION_LIST* Beneath();

/// The parameter string for the library beneath: the configured one, or what NSS softoken needs for the cards kept in
/// `directory`; empty when it wants none. Throws as SoftokenParameters does.
std::string ParametersBeneath(const std::filesystem::path& directory, const State& state);

/// InitializeWithParameters for the library beneath, which is then finalized when the process's exit begins.
CK_RV InitializeBeneath(const std::string& parameters, void* arguments);

/// C_Finalize of the library beneath. CKR_OK without a call once the process's exit has ended that library.
CK_RV FinalizeBeneath(void* reserved);

}  // namespace SoftCard

#endif
