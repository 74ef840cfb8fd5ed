#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"
#include "tests/support/UserHome.h"

/// A test that runs the probe from the bundle of a double, in an empty home, and compares what it writes.
class ProbeTest : public ::testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  /// Runs the probe to its end and returns its lines. The PIN dialog library is the one that tells of its life.
  Texts Run(const std::string& bundle, Texts actions) const {
    actions.insert(actions.begin(), {"dialog", PIN_DIALOG});
    const ChildResult result = RunChild(ExecutableFolder(bundle) + "/probe", actions);
    EXPECT_EQ(result.exitStatus, 0) << result.output << result.errors;
    return LinesOf(result.output);
  }

  static std::string ExecutableFolder(const std::string& bundle) {
    return std::string(BUNDLES) + "/" + bundle + "/Contents/MacOS";
  }

  /// An error that was printed reads as its message alone: GNUstep 1.28 prints no more, 1.31 domain and code as well.
  static Texts LinesOf(const std::string& text) {
    static const std::regex withDomain("Error Domain=QELToken Code=-?[0-9]+ \"(.*)\"");
    Texts lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(std::regex_replace(line, withDomain, "$1"));
    return lines;
  }

  UserHome m_home;
};
