#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>
#include <ostream>

#include "host/base/Failure.h"
#include "host/base/Files.h"
#include "host/terminal/PinSource.h"
#include "tests/host/FakeCard.h"

namespace {

using Arguments = std::vector<std::string>;

TEST(CommandLine, HelpEndsWithSuccess) {
  const FakeCard card;
  const ChildResult result = card.Host({"--help"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_NE(result.output.find("Exit status: 0 done"), std::string::npos);
}

class BadUsage : public ::testing::TestWithParam<Arguments> {};

TEST_P(BadUsage, IsStatusTwoAndAsksNothing) {
  const FakeCard card;
  EXPECT_EQ(card.Host(GetParam()).exitStatus, 2);
  EXPECT_FALSE(card.Has("calls"));
}

INSTANTIATE_TEST_SUITE_P(CommandLine, BadUsage,
                         ::testing::Values(Arguments{}, Arguments{"unheard-of"}, Arguments{"list", "--unheard-of"},
                                           Arguments{"sign", "--key", "first"},
                                           Arguments{"sign", "--key", "k", "--algorithm", "md5", "--in", "i", "--out",
                                                     "o"},
                                           Arguments{"agree", "--key", "k", "--peer", "p", "--size", "0", "--out", "o"},
                                           Arguments{"agree", "--key", "k", "--peer", "p", "--size", "8",
                                                     "--shared-info", "xy", "--out", "o"},
                                           Arguments{"list", "--timeout", "0"}));

TEST(CommandLine, KeysAreFoundByIdentifierInEitherCase) {
  const FakeCard card;
  for (const char* id : {"12a1", "12A1"})
    EXPECT_EQ(card.Host({"sign", "--key", id, "--algorithm", "rsa-pkcs1-sha1", "--in", card.Path("message"), "--out",
                         card.Path("out")})
                  .exitStatus,
              0);
}

struct Lookup {
  const char* key;
  const char* line;
};

void PrintTo(const Lookup& lookup, std::ostream* out) {
  *out << lookup.key;
}

class Lookups : public ::testing::TestWithParam<Lookup> {};

TEST_P(Lookups, ThatFindNoOneKeyAreStatusFour) {
  const FakeCard card;
  const ChildResult result =
      card.Host({"decrypt", "--key", GetParam().key, "--in", card.Path("message"), "--out", card.Path("out")});
  EXPECT_EQ(result.exitStatus, 4);
  EXPECT_EQ(result.errors, GetParam().line);
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, Lookups,
    ::testing::Values(
        Lookup{"nobody", "ctkhost: no key is called 'nobody'; 'ctkhost list' shows the keys\n"},
        Lookup{"twin", "ctkhost: 2 keys are called 'twin'; name one by its ID in 'ctkhost list', or use --reader\n"},
        Lookup{"11a1", "ctkhost: '11a1' is no key; 'ctkhost list' shows the keys\n"}));

struct Usage {
  Arguments arguments;
  const char* line;
};

TEST(CommandLine, SaysWhatIsWrongWithACommandLineAndWhereToLook) {
  const FakeCard card;
  const Usage kRows[] = {
      {{}, "which command? 'ctkhost --help' shows them"},
      {{"unheard-of"}, "there is no command 'unheard-of'; 'ctkhost --help' shows them"},
      {{"--unheard-of"}, "there is no option '--unheard-of'; 'ctkhost --help' shows them"},
      {{"list", "--unheard-of"},
       "the following argument was not expected: --unheard-of; 'ctkhost list --help' shows how to use it"},
      {{"sign"}, "--key is required; 'ctkhost sign --help' shows how to use it"},
      {{"sign", "--algorithm", "md5"},
       "--algorithm: there is no algorithm 'md5'; 'ctkhost sign --help' shows how to use it"},
      {{"list", "--timeout", "0"},
       "--timeout: '0' is no number from 1 to 3600; 'ctkhost list --help' shows how to use it"},
      {{"agree", "--size", "much"},
       "--size: 'much' is no number from 1 to 65536; 'ctkhost agree --help' shows how to use it"},
  };
  for (const Usage& row : kRows) {
    const ChildResult result = RunChild(QEL_CTKHOST, row.arguments, card.Environment());
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.errors, std::string("ctkhost: ") + row.line + "\n");
  }
}

TEST(CommandLine, TheLastOfAnOptionThatIsGivenTwiceCounts) {
  const FakeCard card;
  EXPECT_EQ(card.Host({"--reader", "None", "readers", "--reader", "Test Reader"}).output, "card   Test Reader\n");
}

TEST(CommandLine, AResultThatCouldNotBeWrittenIsRefusedBeforeTheCardIsAsked) {
  const FakeCard card;
  const std::pair<std::string, std::string> kRows[] = {
      {"none/out", " cannot be written: there is no folder " + card.Path("none") + "\n"},
      {"cards", " is a folder; name a file\n"},
  };
  for (const auto& [out, problem] : kRows) {
    const ChildResult result = card.Host({"sign", "--key", "first", "--algorithm", "rsa-pkcs1-sha1", "--in",
                                          card.Path("message"), "--out", card.Path(out)});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(result.errors, "ctkhost: " + card.Path(out) + problem);
  }
  EXPECT_FALSE(card.Has("calls"));
}

TEST(CommandLine, ADigestOfAnotherLengthIsRefusedBeforeTheCardIsAsked) {
  const FakeCard card;
  const ChildResult result = card.Host({"sign", "--key", "first", "--algorithm", "rsa-pkcs1-sha256", "--digest",
                                        card.Path("message"), "--out", card.Path("out")});
  EXPECT_EQ(result.exitStatus, 2);
  EXPECT_EQ(result.errors,
            "ctkhost: the digest has 5 bytes, and rsa-pkcs1-sha256 wants 32; give it as 'openssl dgst -binary' writes "
            "it\n");
  EXPECT_FALSE(card.Has("calls"));
}

TEST(CommandLine, AFileThatCannotBeReadIsNamed) {
  const FakeCard card;
  const std::pair<std::string, std::string> kRows[] = {
      {"none", " cannot be read: No such file or directory\n"},
      {"cards", " is a folder; name a file\n"},
  };
  for (const auto& [in, problem] : kRows)
    EXPECT_EQ(card.Host({"decrypt", "--key", "first", "--in", card.Path(in), "--out", card.Path("out")}).errors,
              "ctkhost: " + card.Path(in) + problem);
}

TEST(CommandLine, ReadersAreShownWithAndWithoutACard) {
  const FakeCard card;
  EXPECT_EQ(card.Host({"readers"}).output, "empty  Empty Reader\ncard   Test Reader\n");
}

TEST(CommandLine, AReaderOfAnotherNameIsStatusThree) {
  const FakeCard card;
  const ChildResult result = card.Host({"list", "--reader", "None"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors, "ctkhost: no reader is called 'None'; 'ctkhost readers' shows the readers\n");
}

TEST(CommandLine, AnEmptyReaderIsStatusThree) {
  const FakeCard card;
  const ChildResult result = card.Host({"list", "--reader", "Empty Reader"});
  EXPECT_EQ(result.exitStatus, 3);
  EXPECT_EQ(result.errors,
            "ctkhost: no card in \"Empty Reader\"; put one in ('softcard insert CARD' for a soft one)\n");
}

TEST(CommandLine, ListPrintsTheItemsAsJson) {
  const FakeCard card;
  const auto tokens = nlohmann::json::parse(card.Host({"--json", "list"}).output);
  ASSERT_EQ(tokens.size(), 1u);
  EXPECT_EQ(tokens[0]["instanceID"], "QEL-FAKE");
  EXPECT_EQ(tokens[0]["items"][1]["objectID"], "12a1");
  EXPECT_EQ(tokens[0]["items"][1]["capabilities"], nlohmann::json({"sign", "decrypt", "login"}));
  EXPECT_EQ(tokens[0]["items"][1]["constraints"]["sign"], "PINAlways");
}

TEST(CommandLine, ListPrintsARowForEachItemOfATokenInPlainText) {
  const FakeCard card;
  EXPECT_EQ(card.Host({"list"}).output,
            "Token QEL-FAKE in reader Test Reader\n"
            "  KIND  ID    LABEL      TYPE      CAN                 PIN\n"
            "  cert  11a1  first\n"
            "  key   12a1  first      RSA-2048  sign decrypt login  yes\n"
            "  key   12a2  twin       RSA-2048  sign decrypt login  yes\n"
            "  key   12a3  twin       RSA-2048  sign decrypt login  yes\n"
            "  key   12a4  unguarded  RSA-2048  sign decrypt login  -\n");
}

TEST(CommandLine, ExportWritesTheCertificateAsPem) {
  const FakeCard card;
  EXPECT_EQ(card.Host({"export", "--certificate", "first", "--out", card.Path("out")}).exitStatus, 0);
  EXPECT_EQ(card.Text("out"), "-----BEGIN CERTIFICATE-----\nMAA=\n-----END CERTIFICATE-----\n");
}

TEST(CommandLine, APlaintextMayBeReadByItsOwnerOnly) {
  const FakeCard card;
  ASSERT_EQ(
      card.Host({"decrypt", "--key", "first", "--in", card.Path("message"), "--out", card.Path("out")}).exitStatus, 0);
  struct stat status = {};
  ASSERT_EQ(stat(card.Path("out").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST(CommandLine, AFileThatWasThereStaysAsItWasWhenSigningFails) {
  const FakeCard card;
  card.Write("out", "older");
  card.Script("signData", {"none"});
  card.Sign();
  EXPECT_EQ(card.Text("out"), "older");
}

TEST(CommandLine, ThePinIsNeverShown) {
  const FakeCard card;
  card.Script("signData", {"error CryptoTokenKit -9", "ok"});
  std::vector<std::string> arguments = card.SignArguments();
  arguments.insert(arguments.begin(), {"--verbose", "--pin-file", card.Path("pin")});
  const ChildResult result = RunChild(QEL_CTKHOST, arguments, card.Environment());
  ASSERT_EQ(result.exitStatus, 0);
  EXPECT_NE(result.errors.find("-> finishAuth smartCardPIN"), std::string::npos);
  EXPECT_EQ((result.output + result.errors).find("1234"), std::string::npos);
}

TEST(CommandLine, AMissingPinFileIsNamed) {
  const FakeCard card;
  card.Script("signData", {"error CryptoTokenKit -9"});
  std::filesystem::remove(card.Path("pin"));
  const ChildResult result = card.Sign();
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors,
            "ctkhost: the PIN file " + card.Path("pin") + " cannot be read: No such file or directory\n");
}

TEST(CommandLine, WithoutATerminalItSaysHowElseToGiveThePin) {
  const FakeCard card;
  card.Script("signData", {"error CryptoTokenKit -9"});
  std::vector<std::string> arguments = card.SignArguments();
  arguments.insert(arguments.begin(), {"--wait", QEL_CTKHOST});
  const ChildResult result = RunChild("/usr/bin/setsid", arguments, card.Environment());
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.errors, "ctkhost: no terminal to ask for the PIN on; give it with --pin-file FILE\n");
}

struct PinFile {
  std::string content, pin;
};

TEST(PinSource, TakesTheFirstLineWithoutItsEnd) {
  const FakeCard card;
  for (const auto& [content, pin] : {PinFile{"1234", "1234"},
                                     {"1234\n", "1234"},
                                     {"1234\r\n", "1234"},
                                     {"1234\n5678\n", "1234"},
                                     {" 12 \n", " 12 "},
                                     {std::string(1023, 'x') + "\n", std::string(1023, 'x')}}) {
    card.Write("pin", content);
    const Wire::Attachment read = Host::PinSource(card.Path("pin")).Read("PIN: ");
    EXPECT_EQ(std::string(read.data(), read.data() + read.size()), pin);
  }
}

TEST(PinSource, RefusesAnEmptyLineWhichWouldCostATry) {
  const FakeCard card;
  for (const char* content : {"", "\n", "\r\n", "\n1234\n"}) {
    card.Write("pin", content);
    EXPECT_THROW(Host::PinSource(card.Path("pin")).Read("PIN: "), Host::Failure) << content;
  }
}

TEST(PinSource, RefusesALineThatIsTooLongForAPin) {
  const FakeCard card;
  card.Write("pin", std::string(1024, 'x') + "\n");
  EXPECT_THROW(Host::PinSource(card.Path("pin")).Read("PIN: "), Host::Failure);
}

TEST(Files, AFailedWriteLeavesNothing) {
  const FakeCard card;
  EXPECT_THROW(Host::WriteWholeFile(card.Path("none/out"), {1}, Host::Secrecy::Public), Host::Failure);
  EXPECT_FALSE(card.Has("none"));
}

TEST(Files, APathThatIsNoFileIsWrittenDirectly) {
  Host::WriteWholeFile("/dev/null", {1}, Host::Secrecy::Private);
  struct stat status = {};
  ASSERT_EQ(stat("/dev/null", &status), 0);
  EXPECT_TRUE(S_ISCHR(status.st_mode));
}

}  // namespace
