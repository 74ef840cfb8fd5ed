// The function list that callers get. Each function is traced when a trace is asked for; without configured readers it
// goes to the library beneath as it is, with them it first passes through the soft card.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "softcard/library/Beneath.h"
#include "softcard/library/CardAnswers.h"
#include "softcard/library/Cards.h"
#include "softcard/library/DeriveKey.h"
#include "softcard/library/Functions.h"
#include "softcard/library/Login.h"
#include "softcard/library/Signature.h"
#include "softcard/library/Trace.h"
#include "softcard/state/Tries.h"

#define SOFTCARD_EXPORT extern "C" __attribute__((visibility("default")))

namespace SoftCard {

namespace {

/// What the first argument names, and so what is checked or translated before a configured card's call goes on.
enum class First { Nothing, Slot, Session };

template <typename Argument, typename... Rest, typename Function>
CK_RV Pass(First first, Function function, Argument argument, Rest... rest) {
  if constexpr (std::is_same_v<Argument, unsigned long>) {
    auto result = CKR_OK;
    if (first == First::Slot) result = Cards::Shared().SlotBeneath(argument, argument);
    if (first == First::Session) result = Cards::Shared().CheckSession(argument);
    if (result != CKR_OK) return result;
  }
  return function(argument, rest...);
}

/// The answer of a configured card: its own function where it has one, else what Pass makes of the one beneath.
CK_FUNCTION_LIST OwnAnswers() {
  CK_FUNCTION_LIST own{};
  own.C_GetSlotList = CardGetSlotList;
  own.C_GetSlotInfo = CardGetSlotInfo;
  own.C_GetTokenInfo = CardGetTokenInfo;
  own.C_OpenSession = CardOpenSession;
  own.C_CloseSession = CardCloseSession;
  own.C_CloseAllSessions = CardCloseAllSessions;
  own.C_GetSessionInfo = CardGetSessionInfo;
  own.C_Login = CardLogin;
  own.C_SetPIN = CardSetPIN;
  own.C_InitPIN = CardInitPIN;
  own.C_SignInit = CardSignInit;
  own.C_Sign = CardSign;
  own.C_DeriveKey = CardDeriveKey;
  return own;
}

/// The file of the call trace; empty: none is asked for, or the state cannot be read, which the call itself will say.
std::string TraceFile() {
  const char* chosen = std::getenv("QEL_SOFTCARD_TRACE");
  if (chosen && *chosen) return chosen;
  try {
    return Cards::Shared().Now()->trace;
  } catch (const std::exception&) {
    return {};
  }
}

/// Runs `call`, lets nothing escape into the C caller, and writes the trace line.
template <typename Call, typename... Arguments>
CK_RV Run(const char* name, const char* arguments, const Call& call, Arguments... values) {
  CK_RV result = CKR_GENERAL_ERROR;
  const auto trace = TraceFile();
  TraceLine line(name, arguments);
  try {
    result = call();
  } catch (const std::bad_alloc&) {
    result = CKR_HOST_MEMORY;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "soft card: %s: %s\n", name, error.what());
  }
  if (trace.empty()) return result;
  line.Returned(result);
  (line.Add(values), ...);
  line.AppendTo(trace);
  return result;
}

/// While this is held, what is read of a token is whole: the library beneath reads tokens when it starts and for their
/// slots. Null when there are no cards of ours.
std::unique_ptr<FileLock> WithoutLogins() {
  const auto directory = Cards::Directory();
  return directory.empty() ? nullptr : HoldLoginsOff(directory);
}

template <auto Member>
struct Row;  // name, first argument and argument names of a function, from Functions.h

#define ROW(name, first, arguments)                  \
  template <>                                        \
  struct Row<&CK_FUNCTION_LIST::name> {              \
    static constexpr const char* kName = #name;      \
    static constexpr First kFirst = First::first;    \
    static constexpr const char* kNames = arguments; \
  };
SOFTCARD_FUNCTIONS(ROW)
#undef ROW

template <auto Member, typename... Arguments>
CK_RV Entry(Arguments... arguments) {
  using This = Row<Member>;
  return Run(
      This::kName, This::kNames,
      [&]() -> CK_RV {
        static const auto own = OwnAnswers();
        auto* const beneath = Beneath();
        if (!Cards::Shared().Configured()) return (beneath->*Member)(arguments...);
        const auto quiet = This::kFirst == First::Slot ? WithoutLogins() : nullptr;
        if (own.*Member) return (own.*Member)(arguments...);
        return Pass(This::kFirst, beneath->*Member, arguments...);
      },
      arguments...);
}

CK_RV Initialize(void* arguments) {
  using This = Row<&CK_FUNCTION_LIST::C_Initialize>;
  return Run(
      This::kName, This::kNames,
      [&] {
        const auto quiet = WithoutLogins();
        return Cards::Shared().Initialize(arguments);
      },
      arguments);
}

CK_RV Finalize(void* reserved) {
  using This = Row<&CK_FUNCTION_LIST::C_Finalize>;
  return Run(
      This::kName, This::kNames, [&] { return Cards::Shared().Finalize(reserved); }, reserved);
}

/// Deduces the arguments of a member of the list.
template <auto Member, typename... Arguments>
void Set(CK_FUNCTION_LIST& list, CK_RV (*CK_FUNCTION_LIST::*)(Arguments...)) {
  list.*Member = &Entry<Member, Arguments...>;
}

}  // namespace

}  // namespace SoftCard

SOFTCARD_EXPORT CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  using namespace SoftCard;
  static CK_FUNCTION_LIST functions;
  return Run(
      "C_GetFunctionList", "pList",
      [&]() -> CK_RV {
        if (!list) return CKR_ARGUMENTS_BAD;
        LoadBeneath(*Cards::Shared().Now());
        functions.version = Beneath()->version;
#define ROW(name, first, arguments) Set<&CK_FUNCTION_LIST::name>(functions, &CK_FUNCTION_LIST::name);
        SOFTCARD_FUNCTIONS(ROW)
#undef ROW
        functions.C_GetFunctionList = C_GetFunctionList;
        functions.C_Initialize = Initialize;
        functions.C_Finalize = Finalize;
        *list = &functions;
        return CKR_OK;
      },
      static_cast<const void*>(list));
}

/// The vendor function; see CardGetSlotType.
SOFTCARD_EXPORT CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* type) {
  using namespace SoftCard;
  return Run(
      "C_GetSlotType", "hSlot pulType", [&] { return CardGetSlotType(slot, type); }, slot, type);
}
