// The story's card as a library of its own, for an extension's process. QEL_STORY in the environment says what is on
// it: slots, keys per slot, 1 for RSA, and perhaps a call with its result and which of its occurrences fails. Each line
// of the trace is written to the file that QEL_STORY_TRACE names before the call returns.

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/golden/StoryCard.h"

namespace {

std::string Environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::unique_ptr<TestCard::Card> MakeCard() {
  std::istringstream story(Environment("QEL_STORY"));
  StoryContents contents;
  story >> contents.slots >> contents.keysPerSlot >> contents.rsa;
  auto card = MakeStoryCard(contents);
  std::string call;
  CK_RV rv = CKR_OK;
  int occurrence = 0;
  if (story >> call >> rv >> occurrence) card->Fail(call, rv, occurrence);
  card->Tell(
      [](const std::string& line) { std::ofstream(Environment("QEL_STORY_TRACE"), std::ios::app) << line << '\n'; });
  return card;
}

}  // namespace

extern "C" {
CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list);
CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType);

CK_RV C_GetFunctionList(CK_FUNCTION_LIST** list) {
  // The card stays: the extension finalizes it while the process exits.
  static TestCard::Card* const card = MakeCard().release();
  *list = TestCard::FunctionList();
  return card != nullptr ? CKR_OK : CKR_GENERAL_ERROR;
}

CK_RV C_GetSlotType(CK_SLOT_ID slot, CK_ULONG* slotType) {
  return TestCard::GetSlotType(slot, slotType);
}
}
