#include "pkcs11/FindObjects.h"

#include <gtest/gtest.h>

#include <numeric>

#include "pkcs11/CatchTokenException.h"
#include "pkcs11/FunctionList.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/card/ScriptedCard.h"

using namespace TestCard;
using Lines = std::vector<std::string>;

namespace {

constexpr CK_SESSION_HANDLE kSession = 42;

class FindObjectsTest : public ::testing::Test {
 protected:
  std::vector<CK_OBJECT_HANDLE> Find() { return PKCS11::FindObjects(kSession, nullptr, 0); }

  PKCS11::ScopedFunctionList m_functions{FunctionList()};
  CapturedLog m_log;
};

std::vector<CK_OBJECT_HANDLE> Numbered(size_t count) {
  std::vector<CK_OBJECT_HANDLE> handles(count);
  std::iota(handles.begin(), handles.end(), 1);
  return handles;
}

}  // namespace

TEST_F(FindObjectsTest, ASearchThatMatchesNothingAsksOnce) {
  ScriptedCard card({{"C_FindObjectsInit"}, {"C_FindObjects", CKR_OK, Handles({})}, {"C_FindObjectsFinal"}});
  EXPECT_TRUE(Find().empty());
}

TEST_F(FindObjectsTest, AsksAgainAfterAPartialBatch) {
  const auto all = Numbered(33);
  ScriptedCard card({{"C_FindObjectsInit"},
                     {"C_FindObjects", CKR_OK, Handles({all.begin(), all.begin() + 32})},
                     {"C_FindObjects", CKR_OK, Handles({33})},
                     {"C_FindObjects", CKR_OK, Handles({})},
                     {"C_FindObjectsFinal"}});
  EXPECT_EQ(Find(), all);
}
