/// Questions about the platform that only a Mac can answer. Each is asked in a process of its own.

#ifndef QEL_TESTS_MACPROBE_CHECK_H_
#define QEL_TESTS_MACPROBE_CHECK_H_

#include <string>
#include <vector>

namespace probe {

/// What the project takes for granted about the platform, and how to find out.
struct Check {
  const char* name;
  const char* assumed;    ///< the answer on macOS that the product was written for; alternatives are separated by '|'
  const char* elsewhere;  ///< the answer of GNUstep and platform/, where it is another; else null
  const char* matters;    ///< what it means when the answer is another one
  std::string (*find)();  ///< the answer; empty when it cannot be asked here
};

std::vector<Check> FoundationChecks();
std::vector<Check> TextChecks();
std::vector<Check> ExceptionChecks();
std::vector<Check> ItemChecks();
std::vector<Check> TokenChecks();
std::vector<Check> SecurityChecks();
std::vector<Check> SystemChecks();

}  // namespace probe

#endif  // QEL_TESTS_MACPROBE_CHECK_H_
