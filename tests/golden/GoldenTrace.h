#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// Compares a trace, line by line, with the file traces/<name>.txt. Slots, sessions and objects are numbered in the
/// order in which they appear, so that every library gives the same lines.
///
/// With QEL_REWRITE_GOLDEN=1 in the environment the file is written instead and the test fails, so that no run that
/// rewrites looks like one that compares.
::testing::AssertionResult MatchesGoldenTrace(const std::string& name, const std::vector<std::string>& trace);
