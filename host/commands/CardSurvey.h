#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "host/extension/Sandbox.h"

namespace Host {

/// A certificate of a card, as far as publishing it depends on it.
struct SurveyedCertificate {
  std::string identifier;      ///< CKA_ID in hexadecimal
  std::string label;           ///< bytes, whatever they are
  std::string value;           ///< DER, or what the card has instead
  unsigned long category = 0;  ///< CKA_CERTIFICATE_CATEGORY
  bool hasPublicKey = false;   ///< a public key has the same identifier
};

/// What the extension does with it: "published with its key", or what it leaves out and why.
std::string FateOf(const SurveyedCertificate& certificate);

/// Asks the PKCS#11 library `path`, in a process of its own, for its version, its slots and the objects that it shows
/// without a login, and tells what becomes of each. A library that fails, crashes or takes longer than `patience` is
/// told of. The process has an extension's environment and is kept to `rules`, unless there are none. Throws Failure
/// when there is no process to be had.
std::string CardSurvey(const std::string& path, const std::vector<SandboxRule>& rules,
                       std::chrono::milliseconds patience);

}  // namespace Host
