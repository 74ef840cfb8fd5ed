#include <gtest/gtest.h>

#include "tests/host/FakeCard.h"

namespace {

/// Runs a line of a shell in the card's folder, with "host" for ctkhost and its extension.
ChildResult Shell(const FakeCard& card, const std::string& line) {
  const std::string function = "host() { '" + std::string(QEL_CTKHOST) + "' --timeout 2 --extension '" +
                               QEL_FAKE_BUNDLE + "' \"$@\"; }; cd '" + card.Path("") + "'; ";
  auto environment = card.Environment();
  environment["TMPDIR"] = card.Path("tmp");
  std::filesystem::create_directory(card.Path("tmp"));
  return RunChild("/bin/sh", {"-c", function + line}, environment);
}

const std::string kSign = "host sign --key first --algorithm rsa-pkcs1-sha256 ";

TEST(Streams, AResultOnStandardOutputIsTheResultAlone) {
  const FakeCard card;
  for (const char* out : {"-", "/dev/stdout"}) {
    const ChildResult result = Shell(card, kSign + "--in message --out " + out + " | cat");
    EXPECT_EQ(result.output, "result") << out;
    EXPECT_EQ(result.errors, "") << out;
    EXPECT_EQ(Shell(card, "host --json sign --key first --algorithm rsa-pkcs1-sha256 --in message --out " +
                              std::string(out) + " | cat")
                  .output,
              "result")
        << out;
  }
}

TEST(Streams, WhatBecameOfAResultIsSaidOnStandardError) {
  const FakeCard card;
  const ChildResult result = Shell(card, kSign + "--in message --out out");
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "out: 6 bytes\n");
  EXPECT_EQ(Shell(card, kSign + "--json --in message --out out").output, "{\n  \"bytes\": 6,\n  \"out\": \"out\"\n}\n");
}

TEST(Streams, EveryCommandReadsAndWritesPipes) {
  const FakeCard card;
  EXPECT_EQ(Shell(card, "cat message | " + kSign + "--in - --out - | cat").output, "result");
  EXPECT_EQ(Shell(card, "cat message | host decrypt --key first --in - --out - | cat").output, "result");
  EXPECT_EQ(Shell(card, "host export --certificate first --out - | head -1").output, "-----BEGIN CERTIFICATE-----\n");
  EXPECT_EQ(Shell(card, "echo none | host agree --key first --peer - --size 8 --out -").errors.substr(0, 30),
            "ctkhost: standard input holds ");
}

TEST(Streams, TheMessageOfAPipeIsTheOneThatIsSigned) {
  const FakeCard card;
  Shell(card, kSign + "--in message --out out");
  const std::string fromFile = card.CallLine("signData");
  std::filesystem::remove(card.Path("calls"));
  Shell(card, "printf hello | " + kSign + "--in - --out out");
  EXPECT_EQ(card.CallLine("signData"), fromFile);
}

TEST(Streams, StandardInputIsNotReadForTwoThings) {
  const FakeCard card;
  const ChildResult result = Shell(card, "echo 1234 | " + kSign + "--pin-file - --in - --out out");
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.errors,
            "ctkhost: standard input cannot be both the data and the PIN; name a file for one of them\n");
  EXPECT_FALSE(card.Has("calls"));
}

class FullOutput : public ::testing::TestWithParam<const char*> {};

TEST_P(FullOutput, FailsTheCommand) {
  const FakeCard card;
  const std::string command = GetParam();
  const ChildResult full = Shell(card, command + " >/dev/full");
  EXPECT_EQ(full.exitStatus, 1);
  EXPECT_NE(full.errors.find("ctkhost: standard output cannot be written: No space left on device\n"),
            std::string::npos)
      << full.errors;
  const ChildResult closed = Shell(card, command + " >&-");
  EXPECT_EQ(closed.exitStatus, 1);
  EXPECT_NE(closed.errors.find("ctkhost: standard output "), std::string::npos) << closed.errors;
}

INSTANTIATE_TEST_SUITE_P(Streams, FullOutput,
                         ::testing::Values("host list", "host --json list", "host readers", "host watch",
                                           "host --json watch", "host support", "host --help", "host list --help",
                                           "host agent", "host export --certificate first --out -",
                                           "host sign --key first --algorithm rsa-pkcs1-sha256 --in message --out -"));

TEST(Streams, AClosedOutputIsSeenBeforeTheCardIsAsked) {
  const FakeCard card;
  const ChildResult result = Shell(card, kSign + "--in message --out - >&-");
  EXPECT_EQ(result.errors, "ctkhost: standard output is closed\n");
  EXPECT_FALSE(card.Has("calls"));
}

TEST(Streams, AReaderThatLeavesEndsTheCommandQuietlyAndLeavesNoFile) {
  const FakeCard card;
  for (const char* command : {"host list", "host --timing list", "host support", "host watch", "host --json watch"}) {
    const ChildResult result = Shell(card, std::string(command) + " 2>errors | head -c 1 >/dev/null; cat errors");
    EXPECT_EQ(result.exitStatus, 0) << command;
    EXPECT_EQ(result.output.find("ctkhost: standard output"), std::string::npos) << command << result.output;
    EXPECT_TRUE(std::filesystem::is_empty(card.Path("tmp"))) << command;
  }
}

}  // namespace
