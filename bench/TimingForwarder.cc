// A PKCS#11 library in front of SoftHSM2. With $QEL_BENCH_CLOCK it counts the time of every call there. Under callgrind
// it has the instructions there not counted, and derives keys as the soft card does, which SoftHSM2 cannot. Else
// callers get SoftHSM2's own functions and nothing is in between.

#include "bench/Callgrind.h"
#include "bench/LibraryClock.h"
#include "softcard/library/Beneath.h"
#include "softcard/library/DeriveKey.h"
#include "softcard/library/Functions.h"

namespace {

LibraryClock* s_clock = nullptr;

template <auto Member, typename... Arguments>
CK_RV Timed(Arguments... arguments) {
  const uint64_t start = MonotonicNow();
  const CK_RV rv = (SoftCard::Beneath()->*Member)(arguments...);
  s_clock->Add(MonotonicNow() - start);
  return rv;
}

template <auto Member, typename... Arguments>
CK_RV Uncounted(Arguments... arguments) {
  const NotCounted inside;
  return (SoftCard::Beneath()->*Member)(arguments...);
}

CK_RV UncountedDerivation(CK_SESSION_HANDLE session, CK_MECHANISM* mechanism, CK_OBJECT_HANDLE key,
                          CK_ATTRIBUTE* attributes, CK_ULONG count, CK_OBJECT_HANDLE* derived) {
  const NotCounted inside;
  return SoftCard::CardDeriveKey(session, mechanism, key, attributes, count, derived);
}

/// Deduces the arguments of a member of the list.
template <auto Member, typename... Arguments>
void Set(CK_FUNCTION_LIST& list, CK_RV (*CK_FUNCTION_LIST::*)(Arguments...)) {
  list.*Member = s_clock ? &Timed<Member, Arguments...> : &Uncounted<Member, Arguments...>;
}

CK_RV Initialize(void* arguments) {
  return SoftCard::InitializeBeneath({}, arguments);
}

void SetAll(CK_FUNCTION_LIST& list) {
#define ROW(name, first, arguments) Set<&CK_FUNCTION_LIST::name>(list, &CK_FUNCTION_LIST::name);
  SOFTCARD_FUNCTIONS(ROW)
#undef ROW
}

}  // namespace

extern "C" __attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  try {
    SoftCard::LoadBeneath({});
  } catch (const std::exception&) {
    return CKR_GENERAL_ERROR;
  }
  static CK_FUNCTION_LIST functions = *SoftCard::Beneath();
  s_clock = LibraryClock::Map();
  if (s_clock != nullptr || UnderValgrind()) SetAll(functions);
  if (s_clock == nullptr && UnderValgrind()) functions.C_DeriveKey = UncountedDerivation;
  functions.C_Initialize = Initialize;
  functions.C_Finalize = SoftCard::FinalizeBeneath;
  *list = &functions;
  return CKR_OK;
}
