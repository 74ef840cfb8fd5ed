#include "host/extension/PrintedLines.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>

#include "host/base/Output.h"

namespace {

struct Printed {
  const char* name;
  std::string text, shown;
};

const Printed kPrinted[] = {
    {"Line", "the card is slow\n", "the card is slow\n"},
    {"LineWithoutEnd", "first\nsecond", "first\nsecond\n"},
    {"WhatSteersATerminal",
     "\x1b]52;c;bHM=\a\xc2\x9b"
     "2J\r\xe2\x80\xae"
     "gpj\n",
     "?]52;c;bHM=??2J??gpj\n"},
    {"Nothing", "", ""},
};

std::ostream& operator<<(std::ostream& stream, const Printed& printed) {
  return stream << printed.name;
}

class PrintedLinesTest : public ::testing::TestWithParam<Printed> {};

TEST_P(PrintedLinesTest, ComeToStandardErrorHarmless) {
  testing::internal::CaptureStderr();
  {
    Host::PrintedLines lines;
    Host::WriteAll(lines.Descriptor(), GetParam().text.data(), GetParam().text.size());
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(PrintedLines, PrintedLinesTest, ::testing::ValuesIn(kPrinted),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(PrintedLines, AreThereWhenTheyWereAskedFor) {
  testing::internal::CaptureStderr();
  Host::PrintedLines lines;
  Host::WriteAll(lines.Descriptor(), "before the answer\n", 18);
  lines.Pass();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "before the answer\n");
}

TEST(PrintedLines, KeepNobodyFromPrintingMoreThanAPipeHolds) {
  testing::internal::CaptureStderr();
  const std::string line(1000, 'x');
  {
    Host::PrintedLines lines;
    for (int i = 0; i < 1000; ++i) Host::WriteAll(lines.Descriptor(), line.data(), line.size());
  }
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(shown.begin(), shown.end(), 'x'), 1000000);
}

}  // namespace
