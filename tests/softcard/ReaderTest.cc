#include <dlfcn.h>

#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

using SoftCardReader = SoftCardFixture;

CK_RV SlotType(CK_SLOT_ID slot, CK_ULONG* type) {
  void* const library = dlopen(SOFTCARD_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  const auto function = reinterpret_cast<CK_RV (*)(CK_SLOT_ID, CK_ULONG*)>(dlsym(library, "C_GetSlotType"));
  const auto result = function(slot, type);
  dlclose(library);
  return result;
}

TEST_F(SoftCardReader, TheSlotIsDescribedByTheReadersNameBlankPadded) {
  MakeAndInsert({"demo"});
  CK_SLOT_INFO info{};
  ASSERT_CKR(CKR_OK, Library()->C_GetSlotInfo(FirstSlot(), &info));
  const std::string name = kReaderName;
  EXPECT_EQ(std::string(reinterpret_cast<char*>(info.slotDescription), 64), name + std::string(64 - name.size(), ' '));
  EXPECT_NE(info.flags & CKF_TOKEN_PRESENT, 0U);
}

TEST_F(SoftCardReader, ACardOfSeveralTokensShowsASlotForEach) {
  MakeAndInsert({"demo"}, {"p256", "p384"}, 2);
  const auto slots = Library().Slots();
  ASSERT_EQ(slots, (std::vector<CK_SLOT_ID>{0, 1}));
  std::vector<std::string> labels;
  for (const auto slot : slots) {
    CK_SLOT_INFO reader{};
    CK_TOKEN_INFO token{};
    ASSERT_CKR(CKR_OK, Library()->C_GetSlotInfo(slot, &reader));
    ASSERT_CKR(CKR_OK, Library()->C_GetTokenInfo(slot, &token));
    EXPECT_EQ(Unpadded(reader.slotDescription), kReaderName);
    labels.push_back(Unpadded(token.label));
  }
  EXPECT_EQ(labels, (std::vector<std::string>{"demo", "demo 2"}));
  const LoggedInSession first(Library(), 0, CKU_USER, kPin);
  const LoggedInSession second(Library(), 1, CKU_USER, kPin);
  EXPECT_EQ(LabelOfKey(first), "EC P-256 key 1");
  EXPECT_EQ(LabelOfKey(second), "EC P-384 key 2");
}

TEST_F(SoftCardReader, AnEmptyReaderHasASlotWithoutAToken) {
  MakeAndInsert({"demo"});
  Remove(m_directory, kReaderName);
  CK_ULONG count = 9;
  EXPECT_CKR(CKR_OK, Library()->C_GetSlotList(CK_TRUE, nullptr, &count));
  EXPECT_EQ(count, 0U);
  ASSERT_EQ(Library().Slots().size(), 1U);
  CK_SLOT_INFO slot{};
  EXPECT_CKR(CKR_OK, Library()->C_GetSlotInfo(0, &slot));
  EXPECT_EQ(slot.flags & CKF_TOKEN_PRESENT, 0U);
  CK_TOKEN_INFO token{};
  CK_SESSION_HANDLE session = 0;
  CK_ULONG mechanisms = 0;
  EXPECT_CKR(CKR_TOKEN_NOT_PRESENT, Library()->C_GetTokenInfo(0, &token));
  EXPECT_CKR(CKR_TOKEN_NOT_PRESENT, Library()->C_GetMechanismList(0, nullptr, &mechanisms));
  EXPECT_CKR(CKR_TOKEN_NOT_PRESENT, Library()->C_OpenSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session));
  EXPECT_CKR(CKR_SLOT_ID_INVALID, Library()->C_GetTokenInfo(5, &token));
}

TEST_F(SoftCardReader, OnlyTheInsertedCardsTokenIsSeen) {
  Make({"other"});
  MakeAndInsert({"demo"});
  EXPECT_EQ(Library().Slots().size(), 1U);
  EXPECT_EQ(Unpadded(TokenInfo().label), "demo");
}

TEST_F(SoftCardReader, ASlotListThatIsTooShortIsRefusedWithTheRightCount) {
  MakeAndInsert({"demo"}, {"p256"}, 2);
  CK_SLOT_ID one = 99;
  CK_ULONG count = 1;
  EXPECT_CKR(CKR_BUFFER_TOO_SMALL, Library()->C_GetSlotList(CK_FALSE, &one, &count));
  EXPECT_EQ(count, 2U);
  EXPECT_EQ(one, 99U);
  EXPECT_CKR(CKR_ARGUMENTS_BAD, Library()->C_GetSlotList(CK_FALSE, nullptr, nullptr));
}

TEST_F(SoftCardReader, TheConfiguredSerialNumberReplacesTheTokens) {
  MakeAndInsert({"demo", "0123456789ABCDEF"});
  EXPECT_EQ(Unpadded(TokenInfo().serialNumber), "0123456789ABCDEF");
}

TEST_F(SoftCardReader, SessionsNameTheReadersSlot) {
  MakeAndInsert({"demo"}, {"p256"}, 2);
  const LoggedInSession session(Library(), 1, CKU_USER, kPin);
  CK_SESSION_INFO info{};
  ASSERT_CKR(CKR_OK, session->C_GetSessionInfo(session.Handle(), &info));
  EXPECT_EQ(info.slotID, 1U);
  EXPECT_EQ(info.state, CKS_RW_USER_FUNCTIONS);
}

TEST_F(SoftCardReader, TheSlotTypeIsWrittenOnEveryCall) {
  MakeAndInsert({"demo", "", true, 0x80000003UL});
  Library();
  CK_ULONG type = 0;
  EXPECT_CKR(CKR_OK, SlotType(0, &type));
  EXPECT_EQ(type, 0x80000003UL);
  EXPECT_CKR(CKR_SLOT_ID_INVALID, SlotType(77, &type));
  EXPECT_EQ(type, kDefaultSlotType);
  Remove(m_directory, kReaderName);
  type = 0;
  EXPECT_CKR(CKR_OK, SlotType(0, &type));
  EXPECT_EQ(type, kDefaultSlotType);
  EXPECT_CKR(CKR_ARGUMENTS_BAD, SlotType(0, nullptr));
}

TEST_F(SoftCardReader, TakingTheCardOutEndsItsSessions) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  ASSERT_CKR(CKR_OK, Login(session, kPin));
  Remove(m_directory, kReaderName);
  CK_SESSION_INFO info{};
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_GetSessionInfo(session, &info));
  EXPECT_CKR(CKR_DEVICE_REMOVED, Login(session, kPin));
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_FindObjectsInit(session, nullptr, 0));
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_CloseSession(session));
  EXPECT_CKR(CKR_SESSION_HANDLE_INVALID, Library()->C_CloseSession(session));
}

TEST_F(SoftCardReader, AQuickExchangeEndsTheSessionsTooAndNobodyIsLoggedInAfterwards) {
  MakeAndInsert({"demo"});
  const auto before = Open();
  ASSERT_CKR(CKR_OK, Login(before, kPin));
  Remove(m_directory, kReaderName);
  Insert(m_directory, "demo", kReaderName);
  CK_SESSION_INFO info{};
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_GetSessionInfo(before, &info));
  const auto after = Open();
  ASSERT_CKR(CKR_OK, Library()->C_GetSessionInfo(after, &info));
  EXPECT_EQ(info.state, CKS_RW_PUBLIC_SESSION);
}

TEST_F(SoftCardReader, ACardMadeAfterTheStartIsSeenOnceNoSessionIsOpen) {
  MakeAndInsert({"demo"});
  CK_C_INITIALIZE_ARGS arguments{};
  arguments.flags = 0x00030000;
  ASSERT_CKR(CKR_OK, Library()->C_Finalize(nullptr));
  ASSERT_CKR(CKR_OK, Library()->C_Initialize(&arguments)) << "as the extension starts it";
  const auto session = Open();
  // Another process makes the card: this one's library is in use.
  const std::string make = "echo 12345678 | " SOFTCARD_PROGRAM " init later --key p256 --pin-file - >/dev/null";
  ASSERT_EQ(std::system(make.c_str()), 0);
  Insert(m_directory, "later", "Second Reader");
  CK_TOKEN_INFO info{};
  EXPECT_CKR(CKR_TOKEN_NOT_RECOGNIZED, Library()->C_GetTokenInfo(16, &info));
  ASSERT_CKR(CKR_OK, Library()->C_CloseSession(session));
  EXPECT_CKR(CKR_OK, Library()->C_GetTokenInfo(16, &info));
  EXPECT_EQ(Unpadded(info.label), "later");
}

TEST_F(SoftCardReader, AProcessThatFinalizesInItsStaticDestructorsEndsCleanly) {
  MakeAndInsert({"demo"});
  const auto endWithTheLibraryInUse = [] {
    static const Pkcs11Library library(SOFTCARD_LIBRARY);
    static const LoggedInSession session(library, 0, CKU_USER, kPin);
    std::exit(0);
  };
  EXPECT_EXIT(endWithTheLibraryInUse(), ::testing::ExitedWithCode(0), "");
}

TEST_F(SoftCardReader, AStateThatCannotBeReadFailsTheCallAndNothingElse) {
  MakeAndInsert({"demo"});
  const auto session = Open();
  WritePrivateFile(m_directory / "state.json", "no state");
  CK_SESSION_INFO info{};
  EXPECT_CKR(CKR_GENERAL_ERROR, Library()->C_GetSessionInfo(session, &info));
}

}  // namespace
