// Every call of the system that an operation makes fails at its first, second and last occurrence; a table says what
// follows.

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <set>
#include <stdexcept>
#include <string>

#include "tests/systemfaults/Operations.h"

namespace {

using namespace SystemFaults;

constexpr int kLast = -1;

/// What follows when a function fails; with kFunctions, when none does.
struct Row {
  const char* operation;
  Function function;
  const char* thrown;
  const char* outcome;
  int occurrence = 0;  ///< 0: whichever; before that, a row for one of them
};

#define QEL_LINE "ERROR QELToken - a line that is longer than a short string: gr\u00fc\u00df|"
#define QEL_NEXT "INFO  QELToken - next|"

constexpr Row kRows[] = {
    // clang-format off
    // operation   fails      thrown                                                                            outcome
    {"convert",    kFunctions, "",                                                                              "a'\\xc3''\\xa9'z"},
    {"convert",    IconvOpen,  "iconv_open from encoding 'UTF-8' to",                                           "nothing"},
    {"convert",    Iconv,      "iconv from encoding 'UTF-8' to",                                                "nothing"},
    {"convert",    New,        "no memory",                                                                     "nothing"},
    {"start",      kFunctions, "",                                                                              QEL_NEXT},
    {"start",      SetLocale,  "",                                                                              QEL_NEXT},
    {"start",      New,        "",                                                                              QEL_NEXT, kLast},  // a client without a logger
    {"start",      New,        "no memory"               ,                                                      QEL_NEXT},
    {"line",       kFunctions, "",                                                                              QEL_LINE QEL_NEXT},
    {"line",       IconvOpen,  "",                                                                              QEL_NEXT},
    {"line",       Iconv,      "",                                                                              QEL_NEXT},
    {"line",       FOpen,      "",                                                                              QEL_NEXT},
    {"line",       FWrite,     "",                                                                              QEL_NEXT},
    {"line",       New,        "",                                                                              QEL_NEXT},
    {"callback",   kFunctions, "",                                                                              "a message that is longer than a short string|next"},
    {"callback",   IconvOpen,  "",                                                                              "|next"},
    {"callback",   Iconv,      "",                                                                              "|next"},
    {"callback",   New,        "",                                                                              "|next"},
    {"client",     kFunctions, "",                                                                              "logger"},
    {"client",     IconvOpen,  "",                                                                              "no logger"},
    {"client",     Iconv,      "",                                                                              "no logger"},
    {"client",     New,        "",                                                                              "no logger"},
    {"settings",   kFunctions, "",                                                                              "loaded, logging on"},
    {"settings",   GetPwUid,   "",                                                                              "loaded, logging off"},
    {"settings",   FOpen,      "",                                                                              "loaded, logging off", 1},
    {"settings",   FOpen,      "",                                                                              "loaded, logging on", kLast},
    {"settings",   New,        "no memory",                                                                     "not loaded, logging on", kLast},  // the machine's path, after the user's file
    {"settings",   New,        "no memory",                                                                     "not loaded, logging off"},
    // clang-format on
};

const Row* FindRow(const std::string& operation, Function function, int occurrence = 0, bool last = false) {
  for (const Row& row : kRows) {
    const bool fits = row.occurrence == 0 || row.occurrence == occurrence || (row.occurrence == kLast && last);
    if (operation == row.operation && function == row.function && fits) return &row;
  }
  return nullptr;
}

/// Runs the operation with one call failing; returns what it threw.
std::string Thrown(const Operation& operation, Function function, int occurrence) {
  enum class End { Normal, NoMemory, Failed } end = End::Normal;
  std::runtime_error failure("");
  {
    const Watch watch(function, occurrence);
    try {
      operation.run();
    } catch (const std::bad_alloc&) {
      end = End::NoMemory;
    } catch (const std::runtime_error& error) {
      failure = error;
      end = End::Failed;
    }
  }
  return end == End::Normal ? "" : end == End::NoMemory ? "no memory" : failure.what();
}

}  // namespace

class SystemFaultMatrix : public ::testing::TestWithParam<Operation> {};

TEST_P(SystemFaultMatrix, EveryFailingCallHasTheOutcomeOfItsRow) {
  const Operation& operation = GetParam();
  // The first run makes what the process keeps; the calls of the second one are those of every later run.
  operation.prepare();
  ASSERT_EQ(Thrown(operation, kFunctions, 0), "");
  operation.outcome();
  operation.prepare();
  ASSERT_EQ(Thrown(operation, kFunctions, 0), "");
  int calls[kFunctions];
  for (int function = 0; function < kFunctions; ++function) calls[function] = Calls(static_cast<Function>(function));
  const std::string undisturbed = operation.outcome();
  const Row* const undisturbedRow = FindRow(operation.name, kFunctions);
  ASSERT_NE(undisturbedRow, nullptr);
  EXPECT_EQ(undisturbed, undisturbedRow->outcome);

  int cases = 0;
  for (int number = 0; number < kFunctions; ++number) {
    const auto function = static_cast<Function>(number);
    if (calls[number] == 0) continue;
    for (const int occurrence : std::set<int>{1, std::min(2, calls[number]), calls[number]}) {
      SCOPED_TRACE(std::string(operation.name) + ": " + NameOf(function) + " fails at " + std::to_string(occurrence));
      const Row* const row = FindRow(operation.name, function, occurrence, occurrence == calls[number]);
      ASSERT_NE(row, nullptr) << "no row";
      operation.prepare();
      const std::string thrown = Thrown(operation, function, occurrence);
      EXPECT_EQ(thrown.substr(0, std::string(row->thrown).size()), row->thrown) << thrown;
      if (row->thrown[0] == '\0') {
        EXPECT_EQ(thrown, "");
      }
      EXPECT_EQ(operation.outcome(), row->outcome);
      ++cases;
    }
  }
  EXPECT_GT(cases, 0);
}

INSTANTIATE_TEST_SUITE_P(Operations, SystemFaultMatrix, ::testing::ValuesIn(Operations()),
                         [](const auto& info) { return std::string(info.param.name); });
