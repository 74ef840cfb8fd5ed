#include "tests/libraries/ProbeCard.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

// No objects: the last call comes when the process's statics are gone.
constexpr std::string_view kTold[] = {"C_Initialize",  "C_Finalize",     "C_GetSlotList",
                                      "C_OpenSession", "C_CloseSession", "C_CloseAllSessions"};

bool IsTold(std::string_view name) {
  return std::find(std::begin(kTold), std::end(kTold), name) != std::end(kTold);
}

void TellInitializeArguments(const TestCard::Call& call) {
  const auto* arguments = static_cast<const CK_C_INITIALIZE_ARGS*>(call.output);
  const bool callbacks = arguments->CreateMutex != nullptr || arguments->DestroyMutex != nullptr ||
                         arguments->LockMutex != nullptr || arguments->UnlockMutex != nullptr;
  std::printf(" callbacks=%s reserved=%s", callbacks ? "some" : "none", arguments->pReserved ? "some" : "none");
}

void Tell(const TestCard::Call& call) {
  if (!IsTold(call.name)) return;
  std::printf("%s", Describe(call).c_str());
  if (std::string(call.name) == "C_Initialize") TellInitializeArguments(call);
  std::puts("");
}

}  // namespace

ProbeCard::ProbeCard() : FakeCard({{7, "Example Reader 0"}}) {}

CK_RV ProbeCard::Answer(TestCard::Call& call) {
  ::Tell(call);
  return FakeCard::Answer(call);
}

void ProbeCard::OnFault(TestCard::Call& call) {
  ::Tell(call);
  FakeCard::OnFault(call);
}
