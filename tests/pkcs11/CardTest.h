#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "pkcs11/Calls.h"
#include "pkcs11/QELTokenException.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/Failure.h"
#include "tests/support/card/ScriptedCard.h"

/// A test of code that calls the card: the calls go to the card that the test makes.
class CardTest : public ::testing::Test {
 protected:
  PKCS11::ScopedFunctionList m_functions{TestCard::FunctionList()};
  CapturedLog m_log;
};
