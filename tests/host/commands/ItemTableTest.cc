#include "host/commands/ItemTable.h"

#include <gtest/gtest.h>

#include "host/commands/Listing.h"
#include "tests/support/TestCertificates.h"

namespace {

using Host::LayOut;
using Wire::Item;
using Wire::Operation;

Item Key(const std::string& id, const std::string& label) {
  Item key;
  key.objectID = id;
  key.label = label;
  key.keyType = "73";
  key.keySizeInBits = 384;
  key.canSign = key.canDecrypt = key.canPerformKeyExchange = key.suitableForLogin = true;
  key.constraints[Operation::SignData] = "PINAlways";
  return key;
}

Item Certificate(const std::string& id, const std::string& label) {
  Item certificate;
  certificate.kind = Item::Kind::Certificate;
  certificate.objectID = id;
  certificate.label = label;
  return certificate;
}

using Lines = std::vector<std::string>;

Lines LinesOf(const std::vector<Item>& items, size_t columns) {
  const Host::ItemTable table = LayOut(Host::RowsOf(items), columns);
  Lines lines = {table.heading};
  lines.insert(lines.end(), table.lines.begin(), table.lines.end());
  return lines;
}

TEST(ItemTable, GoesOnWithALongLabelInTheNextLine) {
  EXPECT_EQ(LinesOf({Certificate("1101", "短い"), Key("1201", "The signature key of Anna Example")}, 78),
            (Lines{
                "KIND  ID    LABEL                      TYPE      CAN                       PIN",
                "cert  1101  短い",
                "key   1201  The signature key of Anna  EC P-384  sign decrypt agree login  yes",
                "            Example",
            }));
}

TEST(ItemTable, IsAsWideAsItsLabelsWhereThereIsRoom) {
  const std::string label(200, 'x');
  EXPECT_EQ(LinesOf({Certificate("1101", label), Key("1201", label)}, Host::Page::kAnyColumns)[2],
            "key   1201  " + label + "  EC P-384  sign decrypt agree login  yes");
}

TEST(ItemTable, ALabelWithNothingBesideItHasTheRestOfTheLine) {
  const std::string label = "The certificate of Anna Example for signatures";
  EXPECT_EQ(LinesOf({Certificate("1101", label), Key("1201", label)}, 70)[1], "cert  1101  " + label);
  EXPECT_EQ(LinesOf({Certificate("1101", std::string(100, 'x')), Key("1201", label)}, 70)[2],
            "            " + std::string(42, 'x'));
}

TEST(ItemTable, SetsThePartsOfAnItemBelowEachOtherWhenThereIsNoRoomBeside) {
  const std::vector<Item> items = {Certificate("1101", "Mine"), Key("1201", "The signature key of Anna Example")};
  EXPECT_EQ(LinesOf(items, 69)[0].substr(0, 4), "KIND") << "the last width that is a table";
  EXPECT_EQ(LinesOf(items, 68)[0], "");
  EXPECT_EQ(LinesOf(items, 40), (Lines{"", "cert 1101", "  Mine", "key 1201", "  The signature key of Anna Example",
                                       "  EC P-384; sign decrypt agree login;", "  PIN yes"}));
}

TEST(ItemTable, ShowsAnIdentifierWholeAsLongAsThePageIsWideEnough) {
  const std::string id = "12" + std::string(40, 'a');
  EXPECT_EQ(LinesOf({Key(id, "Mine")}, 46),
            (Lines{"", "key " + id, "  Mine", "  EC P-384; sign decrypt agree login; PIN yes"}));
  EXPECT_EQ(LinesOf({Key(id, "Mine")}, 30)[3], std::string(12, 'a'));
}

TEST(ItemTable, LeavesNothingOutAndIsNeverWiderThanItsPage) {
  const std::vector<Item> items = {Certificate("1101", std::string(300, 'x')),
                                   Key("1201", "漢字漢字漢字漢字漢字漢字漢字漢字"), Key("1202", "")};
  for (size_t columns = 4; columns < 200; ++columns) {
    std::string all;
    for (const std::string& line : LinesOf(items, columns)) {
      ASSERT_LE(Host::ColumnsOf(line), columns) << line;
      all += line;
    }
    const auto count = [&](const std::string& text) {
      size_t found = 0;
      for (size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1)) ++found;
      return found;
    };
    EXPECT_EQ(count("x"), 300u) << columns;
    EXPECT_EQ(count("漢"), 8u) << columns;
  }
}

TEST(ItemTable, MarksACertificateThatIsNotValidNow) {
  Item certificate = Certificate("1101", "Old");
  certificate.certificate = TestCertificates::Expired();
  EXPECT_EQ(Host::RowOf(certificate).type, "expired");
  certificate.certificate = TestCertificates::NotYetValid();
  EXPECT_EQ(Host::RowOf(certificate).type, "not yet valid");
  certificate.certificate = {0x30, 0x00};
  EXPECT_EQ(Host::RowOf(certificate).type, "") << "what cannot be read is not judged";
}

TEST(ItemTable, TellsWhetherAKeyAsksForThePin) {
  Item key = Key("1201", "Mine");
  const std::pair<nlohmann::json, const char*> kRows[] = {
      {"PINAlways", "yes"}, {nlohmann::json::object(), "yes"}, {true, "no"}, {false, "-"}};
  for (const auto& [constraint, pin] : kRows) {
    key.constraints[Operation::SignData] = constraint;
    EXPECT_EQ(Host::RowOf(key).pin, pin) << constraint;
  }
  key.constraints.clear();
  EXPECT_EQ(Host::RowOf(key).pin, "no");
  EXPECT_EQ(Host::RowOf(Certificate("1101", "Mine")).pin, "");
}

TEST(ItemTable, AnItemWithoutALabelSaysSo) {
  Item key = Key("1201", "");
  key.label.reset();
  EXPECT_EQ(Host::RowOf(key).label, "(none)");
}

TEST(Listing, ATokenIsAHeadingAndARowForEachItem) {
  const std::string text = Host::TokenText(std::string(50, 'r'), "QEL-1", {Key("1201", "Mine")}, {62, false});
  EXPECT_EQ(text, "Token QEL-1 in reader\n" + std::string(50, 'r') +
                      "\n"
                      "  KIND  ID    LABEL  TYPE      CAN                       PIN\n"
                      "  key   1201  Mine   EC P-384  sign decrypt agree login  yes\n");
}

TEST(Listing, ATokenWithoutItemsSaysSo) {
  EXPECT_EQ(Host::TokenText("Reader", "QEL-1", {}), "Token QEL-1 in reader Reader\n  no certificates and no keys\n");
}

TEST(Listing, OnlyHeadingsAreStyledAndOnlyOnAPageWithColours) {
  EXPECT_EQ(Host::TokenText("Reader", "QEL-1", {Certificate("1101", "Mine")}, {80, true}),
            "\x1b[1mToken QEL-1 in reader Reader\x1b[0m\n"
            "  \x1b[2mKIND  ID    LABEL  TYPE  CAN  PIN\x1b[0m\n"
            "  cert  1101  Mine\n");
  EXPECT_EQ(Host::TokenText("Reader", "QEL-1", {Certificate("1101", "Mine")}).find('\x1b'), std::string::npos);
}

TEST(Listing, AReadersNameIsWholeAndSafe) {
  EXPECT_EQ(Host::ReadersText({{"A reader \x1b[2J with a name", true, 1}}, {20, false}),
            "card   A reader ?[2J\n       with a name\n");
}

TEST(Listing, ProgramsGetWhatACertificateSaysOfItself) {
  Item certificate = Certificate("1101", "Old");
  certificate.certificate = TestCertificates::Expired();
  const auto item = Host::TokenJson("Reader", "QEL-1", {certificate})["items"][0];
  EXPECT_EQ(item["certificate"].get<std::string>().substr(0, 28), "-----BEGIN CERTIFICATE-----\n");
  EXPECT_EQ(item["validity"], "expired");
  for (const char* name : {"subject", "issuer", "serial", "notBefore", "notAfter", "keyUsage"})
    EXPECT_TRUE(item.contains(name)) << name;
}

}  // namespace
