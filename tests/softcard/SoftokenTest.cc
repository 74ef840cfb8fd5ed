#include "softcard/state/Softoken.h"

#include <gmock/gmock.h>

#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;
namespace fs = std::filesystem;

namespace {

using ::testing::HasSubstr;

class Softoken : public SoftCardFixture {
 protected:
  Softoken() { m_over = "nss"; }

  /// What making a card over `library` is refused with; empty when it was made.
  std::string Refusal(const std::string& name, const std::string& library, const std::string& pin = kPin) {
    try {
      Personalise(m_directory, SOFTCARD_LIBRARY, {{name}, 1, {"p256"}, {}, library}, pin);
      return "";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }
};

TEST_F(Softoken, KeepsEachTokenInADatabaseThatOnlyTheOwnerMayRead) {
  MakeAndInsert({"demo"}, {"p256", "p384"}, 2);
  ASSERT_CKR(CKR_OK, Login(Open(), kPin));
  for (const char* folder : {"nss", "nss/demo", "nss/demo 2"})
    EXPECT_EQ(fs::status(m_directory / folder).permissions(), fs::perms::owner_all) << folder;
  for (const char* file : {"nss/demo/key4.db", "nss/demo/cert9.db", "nss/demo 2/key4.db", "nss/demo 2/cert9.db"})
    EXPECT_EQ(fs::status(m_directory / file).permissions(), fs::perms::owner_read | fs::perms::owner_write) << file;
}

TEST_F(Softoken, GivesEachCardASerialNumberAlthoughItsTokensAllHaveTheSame) {
  MakeAndInsert({"one"});
  Make({"two"});
  const auto state = Load(m_directory);
  EXPECT_EQ(state.cards.at(0).tokens.at(0).serial, state.cards.at(1).tokens.at(0).serial);
  EXPECT_NE(state.cards.at(0).serial, state.cards.at(1).serial);
  EXPECT_EQ(Unpadded(TokenInfo().serialNumber), state.cards.at(0).serial);
}

TEST_F(Softoken, TwoCardsAreUsedSideBySide) {
  MakeAndInsert({"one"}, {"p256"});
  Make({"two"}, {"p384"});
  Insert(m_directory, "two", "Second Reader");
  const LoggedInSession first(Library(), 0, CKU_USER, kPin);
  const LoggedInSession second(Library(), 16, CKU_USER, kPin);
  EXPECT_EQ(LabelOfKey(first), "EC P-256 key 1");
  EXPECT_EQ(LabelOfKey(second), "EC P-384 key 1");
}

TEST_F(Softoken, IsTheLibraryOfAllCardsOfAFolderOrOfNone) {
  EXPECT_EQ(Refusal("first", "nss"), "");
  EXPECT_EQ(Refusal("second", ""), "");
  EXPECT_EQ(Load(m_directory).library, kSoftoken);
  EXPECT_EQ(Refusal("third", "softhsm"),
            "the library beneath the cards here is libsoftokn3.so; QEL_SOFTCARD_DIR chooses another folder for cards "
            "over another library");
  EXPECT_EQ(Load(m_directory).cards.size(), 2U);
}

TEST_F(Softoken, IsRefusedBesideCardsOverSoftHsm) {
  EXPECT_EQ(Refusal("first", "softhsm"), "");
  EXPECT_THAT(Refusal("second", "nss"), HasSubstr("the library beneath the cards here is SoftHSM2;"));
  EXPECT_EQ(Refusal("second", ""), "");
  EXPECT_EQ(Load(m_directory).library, "");
}

TEST_F(Softoken, WithParametersOfTheUsersHoldsNoCardsOfOurs) {
  Update(m_directory, [](State& state) {
    state.library = kSoftoken;
    state.parameters = "configdir='sql:elsewhere'";
  });
  EXPECT_THAT(Refusal("first", "nss"), HasSubstr("cards are made over SoftHSM2 and NSS softoken only"));
}

TEST_F(Softoken, MakesTheCardAfterAnAttemptThatFailed) {
  EXPECT_EQ(Refusal("demo", "nss", "123"), "the PIN is too short or too long for a card");
  EXPECT_EQ(Load(m_directory).FindCard("demo"), nullptr);
  EXPECT_EQ(Refusal("demo", "nss"), "");
}

TEST_F(Softoken, HasSlotsForNinetySevenTokens) {
  std::vector<Card> cards(97, {"c", "", false, kDefaultSlotType, {{"t", ""}}});
  EXPECT_THAT(SoftokenParameters(m_directory, cards), HasSubstr(" 0x64=[configDir='sql:"));
  cards.push_back(cards[0]);
  EXPECT_THROW(SoftokenParameters(m_directory, cards), std::runtime_error);
}

TEST_F(Softoken, RefusesACardForWhichThereAreNoSlotsLeft) {
  Update(m_directory, [](State& state) {
    state.library = kSoftoken;
    state.cards.assign(97, {"c", "", false, kDefaultSlotType, {{"t", ""}}});
  });
  EXPECT_EQ(Refusal("demo", "nss"), "NSS softoken has slots for 97 tokens, and there are 98");
  EXPECT_EQ(Load(m_directory).cards.size(), 97U);
}

TEST_F(Softoken, TakesAFolderWithABlankAndNoneThatItsParametersCannotName) {
  const std::vector<Card> cards = {{"c", "", false, kDefaultSlotType, {{"t", ""}}}};
  EXPECT_THAT(SoftokenParameters("/a b", cards), HasSubstr("'sql:/a b/nss/t'"));
  for (const char* folder : {"/a'b", "/a>b", "/a]b", "/a\\b"})
    EXPECT_THROW(SoftokenParameters(folder, cards), std::runtime_error) << folder;
}

TEST_F(Softoken, WantsNoParametersWithoutCards) {
  EXPECT_EQ(SoftokenParameters(m_directory, {}), "");
}

}  // namespace
