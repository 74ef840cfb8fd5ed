#include "host/ItemTable.h"

#include <gtest/gtest.h>

#include "host/Listing.h"

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

std::vector<std::string> LinesOf(const std::vector<Item>& items, size_t columns) {
  const Host::ItemTable table = LayOut(Host::RowsOf(items), columns);
  std::vector<std::string> lines = {table.heading};
  lines.insert(lines.end(), table.lines.begin(), table.lines.end());
  return lines;
}

TEST(ItemTable, CutsALongLabelAndNothingElse) {
  EXPECT_EQ(LinesOf({Certificate("1101", "短い"), Key("1201", "The signature key of Anna Example")}, 78),
            (std::vector<std::string>{
                "KIND  ID    LABEL                      TYPE      CAN                       PIN",
                "cert  1101  短い",
                "key   1201  The signature key of A...  EC P-384  sign decrypt agree login  yes",
            }));
}

TEST(ItemTable, ALabelWithNothingBesideItHasTheRestOfTheLine) {
  const std::string label = "The certificate of Anna Example for signatures";
  EXPECT_EQ(LinesOf({Certificate("1101", label), Key("1201", label)}, 70)[1], "cert  1101  " + label);
  EXPECT_EQ(LinesOf({Certificate("1101", std::string(100, 'x')), Key("1201", label)}, 70)[1],
            "cert  1101  " + std::string(55, 'x') + "...");
}

TEST(ItemTable, LeavesOutColumnsFromTheRightWhenThereIsNoRoomAndNamesThem) {
  const std::vector<Host::ItemRow> rows = Host::RowsOf({Key("1201", "The signature key of Anna Example")});
  const struct {
    size_t columns;
    const char* hidden;
    const char* line;
  } kRows[] = {
      {65, "", "key   1201  The signa...  EC P-384  sign decrypt agree login  yes"},
      {64, "PIN", "key   1201  The signature...  EC P-384  sign decrypt agree login"},
      {59, "CAN, PIN", "key   1201  The signature key of Anna Example  EC P-384"},
      {33, "TYPE, CAN, PIN", "key   1201  The signature key ..."},
      {13, "TYPE, CAN, PIN", "key   1201  ."},
  };
  for (const auto& row : kRows) {
    const Host::ItemTable table = LayOut(rows, row.columns);
    EXPECT_EQ(table.hidden, row.hidden) << row.columns;
    EXPECT_EQ(table.lines, std::vector<std::string>{row.line}) << row.columns;
  }
}

TEST(ItemTable, ShowsAnIdentifierWholeHoweverLongItIs) {
  const std::string id = "12" + std::string(40, 'a'), monstrous = "12" + std::string(200, 'b');
  EXPECT_EQ(LinesOf({Key(id, "The signature key of Anna Example")}, 78)[1],
            "key   " + id + "  The signature k...  EC P-384");
  EXPECT_EQ(LinesOf({Key(monstrous, "Mine")}, 78)[1], "key   " + monstrous + "  .");
}

TEST(ItemTable, IsNeverWiderThanItsPage) {
  const std::vector<Item> items = {Certificate("1101", std::string(300, 'x')),
                                   Key("1201", "漢字漢字漢字漢字漢字漢字漢字漢字"), Key("1202", "")};
  for (size_t columns = 13; columns < 200; ++columns)
    for (const std::string& line : LinesOf(items, columns)) ASSERT_LE(Host::ColumnsOf(line), columns) << line;
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
  const std::string text = Host::TokenText(std::string(100, 'r'), "QEL-1", {Key("1201", "Mine")}, {59, false});
  EXPECT_EQ(text,
            "Token QEL-1 in reader rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr...\n"
            "  KIND  ID    LABEL  TYPE      CAN\n"
            "  key   1201  Mine   EC P-384  sign decrypt agree login\n"
            "  No room for PIN: make the window wider, or use --json.\n");
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

TEST(Listing, AReadersNameIsCutAndSafe) {
  EXPECT_EQ(Host::ReadersText({{"A reader \x1b[2J with a name", true, 1}}, {20, false}), "card   A reader ?...\n");
}

}  // namespace
