#include <gtest/gtest.h>

#include <algorithm>

#include "host/commands/WatchView.h"

namespace {

using Host::WatchedReader;
using Lines = std::vector<std::string>;

Lines ScreenLines(const Host::WatchState& state, const Lines& recent, Host::TerminalSize size, bool colours,
                  size_t first = 0) {
  return Host::ScreenLines(state, recent, size, colours, &first);
}

Host::ItemRow Key(const std::string& label) {
  return {"key", "1203", label, "EC P-256", "sign decrypt agree login", "yes"};
}

Host::ItemRow Certificate(const std::string& label) {
  return {"cert", "1103", label, "", "", ""};
}

WatchedReader Card(const std::string& name, const std::vector<Host::ItemRow>& items) {
  return {name, WatchedReader::State::Token, "QEL-1", items, ""};
}

Host::WatchState OneToken(size_t items) {
  return {{Card("A reader whose name nobody but its maker would call short, with a contact and an antenna",
                std::vector<Host::ItemRow>(items, Key("A key whose label is longer than what a row has for it"))),
           {"Broken",
            WatchedReader::State::Failed,
            "",
            {},
            "the card in \"Broken\" cannot be used (TKErrorDomain -8); is it a card of this maker?"}},
          "the smart-card service (pcscd) does not run; start it to use real readers"};
}

const Lines kRecent = {"12:00:00  watching", "12:00:01  token QEL-1 of 4 items in Broken", "12:00:02  ended QEL-1"};

TEST(WatchScreen, ShowsReadersTokensAndItemsInEightyColumns) {
  const Host::WatchState state = {{Card("First", {Certificate("Mine"), Key("Signature key")}),
                                   {"Second", WatchedReader::State::Empty, "", {}, ""},
                                   {"Third", WatchedReader::State::Reading, "", {}, ""}},
                                  ""};
  const auto row = [](std::string name, const char* reader) { return name.append(73 - name.size(), ' ') + reader; };
  EXPECT_EQ(ScreenLines(state, {}, {80, 24}, false),
            (Lines{"Readers and the tokens of their cards (q ends)", "", row("First", "card"), "  QEL-1, 2 items",
                   "  KIND  ID    LABEL          TYPE      CAN                       PIN", "  cert  1103  Mine",
                   "  key   1203  Signature key  EC P-256  sign decrypt agree login  yes", "", row("Second", "empty"),
                   "", row("Third", "reading")}));
}

TEST(WatchScreen, TellsOfTheServiceAndOfACardWithoutAToken) {
  const Lines lines = ScreenLines(OneToken(0), {}, {80, 24}, false);
  EXPECT_EQ(lines[1], "  the smart-card service (pcscd) does not run; start it to use real readers");
  EXPECT_NE(std::find(lines.begin(), lines.end(), "  maker?"), lines.end());
}

TEST(WatchScreen, SaysWhatToDoWithoutAReader) {
  EXPECT_EQ(ScreenLines({}, {}, {100, 24}, false)[1],
            "  no reader; plug one in, or make a soft one: 'softcard init demo', then 'softcard insert demo'");
}

TEST(WatchScreen, ShowsTheLastEventsBelow) {
  const Lines lines = ScreenLines(OneToken(1), kRecent, {80, 24}, false);
  EXPECT_EQ(lines.back(), kRecent.back());
}

TEST(WatchScreen, LeavesASmallWindowToTheReaders) {
  const std::vector<std::string> recent(4, "an event");
  for (const size_t rows : {10, 14, 15, 24}) {
    const Lines lines = ScreenLines(OneToken(12), recent, {40, rows}, false);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "an event"), rows < 15 ? 0 : 4) << rows;
  }
}

TEST(WatchScreen, FitsEveryWindow) {
  for (size_t columns = 20; columns <= 200; columns += 9) {
    for (size_t rows = 1; rows <= 40; ++rows) {
      const Lines lines = ScreenLines(OneToken(12), kRecent, {columns, rows}, false);
      ASSERT_LE(lines.size(), rows);
      for (const std::string& line : lines) ASSERT_LE(line.size(), columns) << line;
    }
  }
}

TEST(WatchScreen, ScrollsToEveryLineInWindowsOfEverySizeAndShowsTheWayOut) {
  for (const Host::TerminalSize size : {Host::TerminalSize{40, 10}, {80, 24}, {200, 60}}) {
    const Lines all = ScreenLines(OneToken(80), {}, {size.columns, 1000}, false);
    std::vector<std::string> seen;
    for (size_t first = 0; first < all.size(); ++first) {
      const Lines lines = ScreenLines(OneToken(80), {}, size, false, first);
      ASSERT_EQ(lines.size(), size.rows);
      EXPECT_NE(lines.front().find("q ends"), std::string::npos) << lines.front();
      EXPECT_NE(lines.back().find(" of " + std::to_string(all.size() - 1) + ", arrows scroll"), std::string::npos);
      seen.insert(seen.end(), lines.begin() + 1, lines.end() - 1);
    }
    for (const std::string& line : all)
      if (line != all.front()) {
        EXPECT_NE(std::find(seen.begin(), seen.end(), line), seen.end()) << line;
      }
  }
}

TEST(WatchScreen, DoesNotScrollBeyondItsEnd) {
  size_t first = 1000;
  const Lines lines = Host::ScreenLines(OneToken(40), {}, {80, 24}, false, &first);
  EXPECT_EQ(lines.size(), 24u);
  EXPECT_LT(first, 1000u);
  EXPECT_EQ(lines.back(), "lines " + std::to_string(first + 1) + "-" + std::to_string(first + 22) + " of " +
                              std::to_string(first + 22) + ", arrows scroll");
  Host::ScreenLines(OneToken(1), {}, {200, 60}, false, &first);
  EXPECT_EQ(first, 0u) << "all fits";
}

TEST(WatchScreen, CutsNothingOfAnItem) {
  const std::string label(150, 'x');
  for (const size_t columns : {40, 80, 200}) {
    std::string all;
    for (const std::string& line : ScreenLines({{Card("First", {Key(label)})}, ""}, {}, {columns, 60}, false))
      all += line;
    EXPECT_EQ(std::count(all.begin(), all.end(), 'x'), 150) << columns;
    for (const char* part : {"1203", "EC P-256", "sign decrypt agree login", "yes"})
      EXPECT_NE(all.find(part), std::string::npos) << part << " " << columns;
  }
}

TEST(WatchScreen, TakesTheKeysThatMove) {
  EXPECT_EQ(Host::ScrolledBy("\x1b[B\x1b[B\x1bOA", 10), 1);
  EXPECT_EQ(Host::ScrolledBy("jjk \x1b[6~", 10), 21);
  EXPECT_EQ(Host::ScrolledBy("\x1b[5~b", 10), -20);
  EXPECT_EQ(Host::ScrolledBy("xq\x1b", 10), 0);
}

TEST(WatchScreen, HasColoursOnlyWhenTheyAreWanted) {
  const auto isColoured = [](const std::string& line) { return line.find('\x1b') != std::string::npos; };
  const Lines coloured = ScreenLines(OneToken(2), kRecent, {80, 24}, true);
  const Lines plain = ScreenLines(OneToken(2), kRecent, {80, 24}, false);
  EXPECT_TRUE(std::any_of(coloured.begin(), coloured.end(), isColoured));
  EXPECT_FALSE(std::any_of(plain.begin(), plain.end(), isColoured));
}

TEST(WatchScreen, NeutralizesWhatACardPutsIntoItsNames) {
  const Host::WatchState state = {{Card("\x1b[2Jgone", {Key("\x1b[2Jgone")})}, ""};
  for (const std::string& line : ScreenLines(state, {}, {80, 24}, false))
    EXPECT_EQ(line.find('\x1b'), std::string::npos) << line;
}

}  // namespace
