#include "host/extension/Timing.h"

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/integration/RealCard.h"

using Host::LibraryCall;
using Host::LibraryCallFrom;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr char kLine[] = "05:17:00.288463 29273 C_CloseSession(hSession=0x1) => CKR_OK 0x00000000, 0.007 ms";

TEST(LibraryCall, IsReadFromALineOfTheTrace) {
  const struct {
    const char* line;
    LibraryCall call;
  } kRows[] = {
      {kLine, {"C_CloseSession", "CKR_OK", 0.007}},
      {"05:17:00.288463 29273 C_GetAttributeValue(hSession=0x1, template=[CKA_ID(1) CKA_LABEL(4)], ulCount=2) => "
       "CKR_DEVICE_REMOVED 0x00000032, 12.500 ms",
       {"C_GetAttributeValue", "CKR_DEVICE_REMOVED", 12.5}},
      {"05:17:00.288463 29273 C_Login(hSession=0x1) => 0x80000001 0x80000001, 1.000 ms", {"C_Login", "0x80000001", 1}},
      {"", {"", "", 0}},
      {"not a call", {"", "", 0}},
      {" => , C_(", {"", "", 0}},
  };
  for (const auto& row : kRows) {
    const LibraryCall call = LibraryCallFrom(row.line);
    EXPECT_EQ(call.name, row.call.name) << row.line;
    EXPECT_EQ(call.result, row.call.result) << row.line;
    EXPECT_DOUBLE_EQ(call.milliseconds, row.call.milliseconds) << row.line;
  }
}

TEST(RequestTime, SharesAddUpToTheTotal) {
  const Host::RequestTime time{"signData", 10, 8, {{"C_SignInit", "CKR_OK", 1}, {"C_Sign", "CKR_OK", 5}}};
  EXPECT_DOUBLE_EQ(time.Library(), 6);
  EXPECT_DOUBLE_EQ(time.OfExtension(), 2);
  EXPECT_DOUBLE_EQ(time.OfApplication(), 2);
  EXPECT_EQ(Host::TimingText(time),
            "signData                                            10.000 ms\n"
            "  application and socket                             2.000 ms\n"
            "  extension                                          2.000 ms\n"
            "  library                                            6.000 ms\n"
            "    C_SignInit                                       1.000 ms\n"
            "    C_Sign                                           5.000 ms\n");
}

TEST(RequestTime, ACallThatFailedShowsItsReturnValue) {
  EXPECT_THAT(Host::TimingText({"signData", 3, 2, {{"C_SignInit", "CKR_DEVICE_REMOVED", 1}}}),
              HasSubstr("1.000 ms  CKR_DEVICE_REMOVED\n"));
}

TEST(RequestTime, EqualCallsInARowAreOneLine) {
  const LibraryCall found = {"C_FindObjects", "CKR_OK", 1}, gone = {"C_FindObjects", "CKR_DEVICE_REMOVED", 1};
  EXPECT_THAT(Host::TimingText({"createToken", 9, 8, {found, found, found, gone, found}}),
              HasSubstr("    C_FindObjects x 3                                3.000 ms\n"
                        "    C_FindObjects                                    1.000 ms  CKR_DEVICE_REMOVED\n"
                        "    C_FindObjects                                    1.000 ms\n"));
}

TEST(RequestTime, WithoutCallsTheLibraryIsNotNamed) {
  EXPECT_THAT(Host::TimingText({"hello", 3, 2, {}}), testing::Not(HasSubstr("library")));
}

/// What `ctkhost --timing --json` told of a signature on a card.
std::vector<nlohmann::json> TimesOfASignature(const RealCard& card) {
  const ChildResult result = card.Host({"--timing", "--json", "sign", "--key", card.KeyID(), "--algorithm",
                                        "ecdsa-sha256", "--in", card.Path("message"), "--out", card.Path("signature")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  std::vector<nlohmann::json> times;
  std::istringstream lines(result.errors);
  for (std::string line; std::getline(lines, line);) times.push_back(nlohmann::json::parse(line));
  return times;
}

std::vector<std::string> CallsOf(const nlohmann::json& time) {
  std::vector<std::string> names;
  for (const auto& call : time.at("calls")) names.push_back(call.at("call"));
  return names;
}

TEST(Timing, TellsEveryCallOfASignatureInItsOrder) {
  const RealCard card({"--key", "p256"});
  std::vector<nlohmann::json> signatures;
  for (const auto& time : TimesOfASignature(card))
    if (time.at("request") == "signData") signatures.push_back(time);
  ASSERT_EQ(signatures.size(), 2u);  // the first one learns that a login is needed
  EXPECT_THAT(CallsOf(signatures[0]), ElementsAre("C_GetSessionInfo"));
  EXPECT_THAT(CallsOf(signatures[1]),
              ElementsAre("C_GetSessionInfo", "C_FindObjectsInit", "C_FindObjects", "C_FindObjects",
                          "C_FindObjectsFinal", "C_SignInit", "C_Sign", "C_Sign"));
}

TEST(Timing, ThePartsOfARequestAddUpAndNoneIsNegative) {
  const RealCard card({"--key", "p256"});
  const auto times = TimesOfASignature(card);
  ASSERT_FALSE(times.empty());
  for (const auto& time : times) {
    const double application = time.at("application"), extension = time.at("extension"), library = time.at("library");
    EXPECT_GE(application, 0) << time;
    EXPECT_GE(extension, 0) << time;
    EXPECT_GE(library, 0) << time;
    EXPECT_NEAR(application + extension + library, time.at("milliseconds").get<double>(), 0.001) << time;
  }
}

TEST(Timing, ShowsATableWithinEightyColumnsAndNoneUnasked) {
  const RealCard card({"--key", "p256"});
  EXPECT_EQ(card.Host({"list"}).errors, "");
  const ChildResult result = card.Host({"--timing", "list"});
  EXPECT_THAT(result.errors, HasSubstr("\n    C_OpenSession "));
  std::istringstream lines(result.errors);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
}

TEST(Timing, ATraceThatWasMadeHugeIsNotRead) {
  Host::LibraryTrace trace;
  const std::string path = getenv("QEL_SOFTCARD_TRACE");
  const auto append = [&] { std::ofstream(path, std::ios::app) << kLine << "\n"; };
  append();
  EXPECT_EQ(trace.NewCalls().size(), 1u);
  std::filesystem::resize_file(path, uintmax_t{1} << 30);
  append();
  EXPECT_TRUE(trace.NewCalls().empty());
  append();
  EXPECT_EQ(trace.NewCalls().size(), 1u);
  rusage used = {};
  getrusage(RUSAGE_SELF, &used);
  EXPECT_LT(used.ru_maxrss, 500 * 1024) << "kilobytes";
}

TEST(Timing, LeavesNoFileBehind) {
  const RealCard card({"--key", "p256"});
  ChildEnvironment environment = card.Environment();
  const std::string folder = card.Path("temporary");
  std::filesystem::create_directory(folder);
  environment["TMPDIR"] = folder;
  const ChildResult result = RunChild(QEL_CTKHOST, {"--timing", "list"}, environment);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_THAT(result.errors, HasSubstr("C_OpenSession"));
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

}  // namespace
