// The app's window over soft cards, in each state that a user meets. The pictures are in the build folder, in
// tests/app/pictures.
#include <gmock/gmock.h>

#include <algorithm>

#import "bundle/app/StatusWindow.h"
#include "tests/app/AppUnderTest.h"
#include "tests/app/DatedCertificate.h"
#include "tests/integration/RealCard.h"
#include "tests/support/TemporaryDirectory.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

namespace {

constexpr long kDay = 24 * 60 * 60;
constexpr size_t kDrawn = 8;  // colours: fewer would be a blank window

ChildEnvironment With(ChildEnvironment environment) {
  environment["QEL_CTKHOST"] = QEL_CTKHOST;
  return environment;
}

/// Makes the card `name` with one certificate of these dates.
void MakeDated(const RealCard &cards, const std::string &name, const std::string &subject, long from, long to) {
  const DatedCertificate dated(subject, from, to);
  cards.Write("key.pem", dated.KeyPem());
  cards.Write("certificate.pem", dated.Pem());
  ASSERT_EQ(cards
                .SoftCard({"init", name, "--pin-file", cards.Path("pin"), "--serial", name, "--import",
                           cards.Path("key.pem") + "," + cards.Path("certificate.pem")})
                .exitStatus,
            0);
}

void Remove(const RealCard &cards) {
  ASSERT_EQ(cards.SoftCard({"remove"}).exitStatus, 0);
}

TEST(Window, WithoutAReaderAsksForOne) {
  const TemporaryDirectory folder;
  const AppUnderTest app(With({{"HOME", folder.Path()},
                               {"QEL_SOFTCARD_DIR", folder.Path() / "cards"},
                               {"PCSCLITE_CSOCK_NAME", folder.Path() / "none"}}));
  EXPECT_THAT(app.Texts(), IsSupersetOf({"The extension is registered.", "No card reader is connected.",
                                         "Connect a card reader and insert your card, chip first."}));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("no reader"), kDrawn);
}

TEST(Window, WithAnEmptyReaderAsksForTheCard) {
  const RealCard cards({"--key", "p256"});
  Remove(cards);
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.Texts(), IsSupersetOf({"QEL Soft Reader 00", "No card.", "Insert your card, chip first."}));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("empty reader"), kDrawn);
}

TEST(Window, ShowsTheCertificatesOfACardAndWhatTheirKeysDo) {
  const RealCard cards({"--key", "rsa2048", "--key", "p256", "--serial", "00A1B2C3"});
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.Texts(), IsSupersetOf({"QEL Soft Reader 00", "Card QEL-00A1B2C3."}));
  EXPECT_THAT(app.Texts(), Contains(HasSubstr("RSA, 2048 bits; signs, decrypts")));
  EXPECT_THAT(app.SpokenRows(), Contains(HasSubstr("QEL Soft Reader 00. Card QEL-00A1B2C3.")));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("one card"), kDrawn);
}

TEST(Window, ShowsTwoCardsInTheirReaders) {
  const RealCard cards({"--key", "p256", "--serial", "FIRST"});
  MakeDated(cards, "SECOND", "Ada Lovelace", -kDay, 12 * kDay);
  ASSERT_EQ(cards.SoftCard({"insert", "SECOND", "--reader", "Reader on the desk 01"}).exitStatus, 0);
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.Texts(),
              IsSupersetOf({"QEL Soft Reader 00", "Card QEL-FIRST.", "Reader on the desk 01", "Card QEL-SECOND."}));
  EXPECT_THAT(app.Texts(), Contains(HasSubstr("Expires in 12 days; EC, 256 bits")));
  EXPECT_THAT(app.Texts(), Contains("Ask whoever issued the card for a new certificate in time."));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("two cards"), kDrawn);
}

/// Makes a card with an expired certificate and puts it into the reader.
void InsertExpired(const RealCard &cards) {
  MakeDated(cards, "OLD", "Ada Lovelace", -400 * kDay, -3 * kDay);
  Remove(cards);
  ASSERT_EQ(cards.SoftCard({"insert", "OLD"}).exitStatus, 0);
}

TEST(Window, TellsOfAnExpiredCertificate) {
  const RealCard cards({"--key", "p256"});
  InsertExpired(cards);
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.Texts(), Contains(HasSubstr("Expired 3 days ago")));
  EXPECT_THAT(app.Texts(), Contains("It cannot be used any more. Ask whoever issued the card for a new certificate."));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_THAT(app.HardToRead(), IsEmpty());
  EXPECT_GT(app.TakePicture("expired certificate"), kDrawn);
}

TEST(Window, IsReadableOnADarkScreen) {
  const RealCard cards({"--key", "p256"});
  InsertExpired(cards);
  const DarkColours dark;
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.HardToRead(), IsEmpty());
  EXPECT_GT(app.TakePicture("dark screen"), kDrawn);
}

TEST(Window, HasRoomForTwentyCertificatesAndForLongNames) {
  std::vector<std::string> options = {"--serial", "TWENTY"};
  for (int i = 0; i < 20; ++i) options.insert(options.end(), {"--key", "p256"});
  const RealCard cards(options);
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.SpokenRows(), testing::SizeIs(2 + 20));
  [app.Window() setContentSize:NSMakeSize(360, 300)];
  app.Run(0.2);
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("twenty certificates"), kDrawn);
}

TEST(Window, SaysWhatToDoAboutACardThatGivesNoToken) {
  const RealCard cards({"--key", "p256"});
  ASSERT_EQ(cards.SoftCard({"beneath", "--library", cards.Path("no-library.so")}).exitStatus, 0);
  const AppUnderTest app(With(cards.Environment()));
  EXPECT_THAT(app.Texts(), IsSupersetOf({"QEL Soft Reader 00", "The card is not accepted.",
                                         "Take the card out and insert it again. If this stays, save a support report "
                                         "for your help desk."}));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("token that failed"), kDrawn);
}

TEST(Window, SaysWhatToInstallWhenThePinDialogLibraryIsMissing) {
  const RealCard cards({"--key", "p256"});
  ChildEnvironment environment = With(cards.Environment());
  environment["QEL_LIBRARY_DIR"] = cards.Path("Library");
  const AppUnderTest app(environment);
  EXPECT_THAT(app.Texts(),
              IsSupersetOf({"The PIN dialog library of the card's maker is missing.", "No card works without it.",
                            "Install the software of the card's maker, or ask your administrator to do so.",
                            "QEL Soft Reader 00", "The card is not accepted."}));
  EXPECT_THAT(app.Texts(), Not(Contains(HasSubstr("insert it again"))));
  EXPECT_THAT(app.CutOff(), IsEmpty());
  EXPECT_GT(app.TakePicture("no PIN dialog library"), kDrawn);
}

TEST(Window, FollowsACardThatComesAndGoes) {
  const RealCard cards({"--key", "p256", "--serial", "00A1B2C3"});
  Remove(cards);
  const AppUnderTest app(With(cards.Environment()));
  const auto shows = [&](const std::string &text) {
    for (int i = 0; i < 100; ++i) {
      const auto texts = app.Texts();
      if (std::find(texts.begin(), texts.end(), text) != texts.end()) return true;
      app.Run(0.1);
    }
    return false;
  };
  EXPECT_TRUE(shows("No card."));
  ASSERT_EQ(cards.SoftCard({"insert", "card"}).exitStatus, 0);
  EXPECT_TRUE(shows("Card QEL-00A1B2C3."));
  Remove(cards);
  EXPECT_TRUE(shows("No card."));
}

TEST(Window, WorksWithTheKeyboardAlone) {
  const TemporaryDirectory folder;
  const AppUnderTest app(With({{"HOME", folder.Path()}, {"QEL_SOFTCARD_DIR", folder.Path() / "cards"}}));
  std::map<std::string, std::string> keys;
  for (NSMenuItem *menu in [[NSApp mainMenu] itemArray]) {
    for (NSMenuItem *item in [[menu submenu] itemArray]) {
      keys[[[item title] UTF8String]] = [[item keyEquivalent] UTF8String];
    }
  }
  EXPECT_EQ(keys["Check Again"], "r");
  EXPECT_EQ(keys["Save Support Report\u2026"], "s");
  EXPECT_EQ(keys["Copy"], "c");
  EXPECT_EQ(keys["Close"], "w");
  EXPECT_EQ(keys["Quit QELToken"], "q");
  EXPECT_THAT(app.Buttons(), testing::UnorderedElementsAre("Check Again", "Save Support Report\u2026"));
}

std::string NameOf(NSResponder *focused) {
  return [focused isKindOfClass:[NSButton class]] ? [[(NSButton *)focused title] UTF8String]
                                                  : [[focused className] UTF8String];
}

TEST(Window, GivesTheKeyboardToTheRowsThenToEachButton) {
  const TemporaryDirectory folder;
  const AppUnderTest app(With({{"HOME", folder.Path()}, {"QEL_SOFTCARD_DIR", folder.Path() / "cards"}}));
  std::vector<std::string> focused;
  for (int i = 0; i < 4; ++i, app.Press('\t')) focused.push_back(NameOf([app.Window() firstResponder]));
  EXPECT_THAT(focused, ElementsAre("QELRowsView", "Save Support Report\u2026", "Check Again", "QELRowsView"));
}

TEST(Window, ScrollsWithTheKeyboard) {
  std::vector<std::string> options;
  for (int i = 0; i < 20; ++i) options.insert(options.end(), {"--key", "p256"});
  const RealCard cards(options);
  const AppUnderTest app(With(cards.Environment()));
  const auto top = [&] { return NSMinY([(NSView *)[app.Window() firstResponder] visibleRect]); };
  EXPECT_EQ(top(), 0);
  app.Press(NSDownArrowFunctionKey);
  EXPECT_GT(top(), 0);
  const CGFloat line = top();
  app.Press(NSPageDownFunctionKey);
  EXPECT_GT(top(), line + 100);
}

TEST(Window, SavesTheSupportReportForItsOwnerOnly) {
  const RealCard cards({"--key", "p256", "--serial", "00A1B2C3"});
  const AppUnderTest app(With(cards.Environment()));
  QELStatusWindow *window = [[QELStatusWindow alloc] init];
  EXPECT_TRUE([window writeSupportReportTo:[NSString stringWithUTF8String:cards.Path("report").c_str()]]);
  EXPECT_THAT(cards.Text("report"), HasSubstr("Card QEL-00A1B2C3."));
  EXPECT_EQ(std::filesystem::status(cards.Path("report")).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_FALSE([window writeSupportReportTo:@"/no such folder/report"]);
  [window release];
}

}  // namespace
