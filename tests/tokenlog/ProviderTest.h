#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
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

  /// Expects nothing to come of a handle that is not one of a logger of `Impl`.
  template <typename Impl>
  void ExpectRefused(HLOGGER handle) {
    EXPECT_EQ(Impl::FromHandle(handle), nullptr);
    EXPECT_EQ(Queries(handle), std::vector<int>(5, 0));
    WriteAll(handle);
    m_log.destroy(handle);
  }

  /// Expects that of null, and of what begins like a logger of `Impl` but for its size or its magic.
  template <typename Impl>
  void ExpectImpostorsRefused(uint64_t magic) {
    using Words = std::array<uint64_t, (sizeof(Impl) + 7) / 8>;
    ExpectRefused<Impl>(nullptr);
    for (int bit = 0; bit < 64; ++bit) {
      Words ofAnotherSize{sizeof(Impl) ^ (uint64_t{1} << bit), magic, 5};
      Words ofAnotherMagic{sizeof(Impl), magic ^ (uint64_t{1} << bit), 5};
      ExpectRefused<Impl>(ofAnotherSize.data());
      ExpectRefused<Impl>(ofAnotherMagic.data());
    }
  }

  QEL_LogInterface m_log{};
};
