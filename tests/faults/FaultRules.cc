#include "tests/faults/FaultRules.h"

#include <gtest/gtest.h>

namespace Faults {
namespace {

using Level = QELLog::LogLevel;

// Written from the rules for each call, not from what the code does.
constexpr Rule kRules[] = {
    // clang-format off
    // stage                 call                   outcome           level         named in the log        error
    {Stage::Construction,    "C_Initialize",        Outcome::Fails,   Level::None,  nullptr,                -3, "PKCS11 library initialization failed"},
    {Stage::Construction,    "C_GetSlotList",       Outcome::Fails,   Level::Error, "C_GetSlotList",        -4, "Getting slot list failed"},
    {Stage::Construction,    "C_GetSlotInfo",       Outcome::Fails,   Level::Error, "C_GetSlotList",        -4, "Getting slot info failed"},
    {Stage::Construction,    "C_CloseAllSessions",  Outcome::GoesOn,  Level::Info,  "C_CloseAllSessions"},
    {Stage::Construction,    "C_GetTokenInfo",      Outcome::Refuses, Level::Info,  "C_GetTokenInfo"},
    {Stage::Construction,    "C_OpenSession",       Outcome::Fails,   Level::Error, "C_OpenSession",        -5, "Opening PKCS11 session failed"},
    {Stage::Construction,    "C_FindObjectsInit",   Outcome::Fails,   Level::Error, "C_FindObjectsInit",    -6, "Initialization of object search failed"},
    {Stage::Construction,    "C_FindObjects",       Outcome::Fails,   Level::Error, "C_FindObjects",        -6, "Error while searching for objects on the card"},
    {Stage::Construction,    "C_FindObjectsFinal",  Outcome::GoesOn,  Level::Error, "C_FindObjectsFinal"},
    {Stage::Construction,    "C_GetAttributeValue", Outcome::Fails,   Level::Error, "C_GetAttributeValue",  -6, "Cannot read object's attribute"},
    {Stage::SessionCreation, "C_GetTokenInfo",      Outcome::Refuses, Level::Error, "C_GetTokenInfo"},
    {Stage::SupportQuestion, "C_GetMechanismInfo",  Outcome::Refuses, Level::None,  nullptr},
    {Stage::KeyUse,          "C_GetSessionInfo",    Outcome::Fails,   Level::Error, "C_GetSessionInfo",     -8, "Session is invalid"},
    {Stage::KeyUse,          "C_FindObjectsInit",   Outcome::Fails,   Level::Error, "C_FindObjectsInit",    -6, "Initialization of object search failed"},
    {Stage::KeyUse,          "C_FindObjects",       Outcome::Fails,   Level::Error, "C_FindObjects",        -6, "Error while searching for objects on the card"},
    {Stage::KeyUse,          "C_FindObjectsFinal",  Outcome::GoesOn,  Level::Error, "C_FindObjectsFinal"},
    {Stage::KeyUse,          "C_GetSlotType",       Outcome::GoesOn,  Level::None,  nullptr},
    {Stage::KeyUse,          "C_SignInit",          Outcome::Mapped,  Level::Error, "C_SignInit"},
    {Stage::KeyUse,          "C_Sign",              Outcome::Mapped,  Level::Error, "C_Sign"},
    {Stage::KeyUse,          "C_DecryptInit",       Outcome::Mapped,  Level::Error, "C_DecryptInit"},
    {Stage::KeyUse,          "C_Decrypt",           Outcome::Mapped,  Level::Error, "C_Decrypt"},
    {Stage::KeyUse,          "C_DeriveKey",         Outcome::Mapped,  Level::Error, "C_DeriveKey"},
    {Stage::KeyUse,          "C_GetAttributeValue", Outcome::Mapped,  Level::Error, "C_GetAttributeValue"},
    {Stage::Login,           "C_GetSlotType",       Outcome::GoesOn,  Level::None,  nullptr},
    {Stage::Login,           "C_Login",             Outcome::Mapped,  Level::None,  nullptr},
    {Stage::Teardown,        "C_CloseSession",      Outcome::GoesOn,  Level::Error, "C_CloseSession"},
    // clang-format on
};

}  // namespace

const Rule* FindRule(Stage stage, const std::string& call) {
  for (const Rule& rule : kRules) {
    if (rule.stage == stage && call == rule.call) return &rule;
  }
  ADD_FAILURE() << "no rule for " << call;
  return nullptr;
}

int TokenKitCode(CK_RV rv) {
  switch (rv) {
    case 0x50:
      return -4;  // cancelled
    case 0xA0:
      return -8;  // wrong PIN
    case 0x101:
      return -9;  // not logged in
    default:
      return 0;
  }
}

}  // namespace Faults
