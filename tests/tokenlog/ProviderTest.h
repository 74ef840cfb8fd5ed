#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "log/LogInterface.h"

/// What the tests of every log provider do with its interface; the fixture fills m_log.
class ProviderTest : public ::testing::Test {
 protected:
  /// Makes a logger; the test destroys it.
  HLOGGER Logger(const wchar_t* name = L"QELToken") {
    HLOGGER logger = nullptr;
    EXPECT_EQ(m_log.create(name, &logger), 1);
    return logger;
  }

  /// Writes "1" to "5" at the levels of the same numbers.
  void WriteAll(HLOGGER logger) {
    m_log.fatal(logger, L"1");
    m_log.error(logger, L"2");
    m_log.warning(logger, L"3");
    m_log.info(logger, L"4");
    m_log.debug(logger, L"5");
  }

  /// The answers of the five level queries, from fatal to debug.
  std::vector<int> Queries(HLOGGER logger) {
    return {m_log.isFatal(logger), m_log.isError(logger), m_log.isWarning(logger), m_log.isInfo(logger),
            m_log.isDebug(logger)};
  }

  QEL_LogInterface m_log{};
};
