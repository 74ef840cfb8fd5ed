/// What a report may tell a help desk of the lines of a log, and what it must not.

#pragma once

#include <string>

namespace Report {

/// The failing PKCS#11 call of a line of the token log, with the symbolic name of what it returned:
/// "C_SignInit => CKR_KEY_HANDLE_INVALID"; of several the last. Empty when the line tells of none.
std::string FailingCallIn(const std::string& logLine);

/// A line of a log without what may be secret: what stands behind a word such as PIN, and long runs of hexadecimal
/// digits; names such as "PIN pad" and "PIN reader" stay. Nothing of ours logs any; a library or a settings file of
/// somebody else's may. Takes lines of any length.
std::string WithoutSecrets(const std::string& logLine);

/// A text without the user's home folder and the computer's name, where they are no parts of longer words.
std::string WithoutThePerson(std::string text);

}  // namespace Report
