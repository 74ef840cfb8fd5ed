#pragma once

#include <string>
#include <vector>

#include "log/QELLog.h"
#include "pkcs11/Cryptoki.h"

namespace Faults {

/// The groups of operations within which a failing call has one meaning.
enum class Stage { Construction, SessionCreation, SupportQuestion, KeyUse, Login, Teardown };

/// What a failing call does to the operation.
enum class Outcome {
  Fails,    ///< nil, with an error of domain "QELToken"
  Mapped,   ///< nil or NO, with an error of CryptoTokenKit for three return values and none for the others
  Refuses,  ///< nil or NO, without an error
  GoesOn,   ///< no effect but its log line
};

/// One row: in this stage, when this call fails, this follows.
struct Rule {
  Stage stage;
  const char* call;
  Outcome outcome;
  QELLog::LogLevel level;  ///< None: nothing is logged
  const char* loggedName;  ///< the name that the log line gives
  int code = 0;            ///< of the error, with Fails
  const char* message = "";
};

/// The row for a call. Fails the test, and answers null, when there is none.
const Rule* FindRule(Stage stage, const std::string& call);

/// The code in TKErrorDomain of a return value, 0 for those that have none.
int TokenKitCode(CK_RV rv);

}  // namespace Faults
