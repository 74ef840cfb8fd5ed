#import "tests/token/TokenTest.h"

using TestCard::FakeCard;
using TestCard::FakeSlot;

namespace {

/// A call that fails a construction, and what must be seen of it.
struct Failure {
  const char *name;
  const char *call;
  CK_RV rv;
  int occurrence;
  int code;
  const char *message;
  const char *logged;  // at error level, or null
  Texts closed;        // the sessions closed afterwards, in order
};

void PrintTo(const Failure &failure, std::ostream *stream) {
  *stream << failure.call;
}

/// Failing constructions on a card with two slots.
class QELTokenFailure : public TokenTest, public ::testing::WithParamInterface<Failure> {
 protected:
  void ExpectFailure(NSError **error) {
    FakeCard card(TwoSlots());
    card.Fail(GetParam().call, GetParam().rv, GetParam().occurrence);
    @autoreleasepool {
      EXPECT_EQ(MakeToken(error), nil);
      if (error != nullptr) [*error retain];
    }
    if (error != nullptr) [*error autorelease];
    Texts closed;
    for (const std::string &call : card.Calls()) {
      if (call.rfind("C_CloseSession", 0) == 0) closed.push_back(call);
    }
    EXPECT_EQ(closed, GetParam().closed);
    EXPECT_EQ(m_log.Errors(), GetParam().logged ? Texts{GetParam().logged} : Texts{});
  }

  /// The loader's own line, for the calls that it makes.
  static Texts LoaderLine() { return GetParam().code == -3 ? Texts{"error: C_Initialize => 0x00000030"} : Texts{}; }
};

const Texts kNone = {};
const Texts kFirst = {"C_CloseSession session=101"};
const Texts kBoth = {"C_CloseSession session=101", "C_CloseSession session=102"};

const char kListFailed[] = "Getting slot list failed";
const char kInfoFailed[] = "Getting slot info failed";
const char kOpenFailed[] = "Opening PKCS11 session failed";
const char kSearchFailed[] = "Initialization of object search failed";
const char kSearchBroke[] = "Error while searching for objects on the card";
const char kCannotRead[] = "Cannot read object's attribute";

}  // namespace

// clang-format off
INSTANTIATE_TEST_SUITE_P(When, QELTokenFailure, ::testing::Values(
  Failure{"TheLibraryRefusesInitialization", "C_Initialize", CKR_DEVICE_ERROR, 1, -3,
          "PKCS11 library initialization failed", nullptr, kNone},
  Failure{"TheNumberOfSlotsIsRefused", "C_GetSlotList", CKR_GENERAL_ERROR, 1, -4, kListFailed, "C_GetSlotList() => 0x00000005", kNone},
  Failure{"TheListOfSlotsIsRefused", "C_GetSlotList", CKR_BUFFER_TOO_SMALL, 2, -4, kListFailed, "C_GetSlotList() => 0x00000150", kNone},
  Failure{"ASlotIsRefused", "C_GetSlotInfo", CKR_DEVICE_ERROR, 1, -4, kInfoFailed, "C_GetSlotList() => 0x00000030", kNone},
  Failure{"ASlotAfterAMatchIsRefused", "C_GetSlotInfo", CKR_DEVICE_ERROR, 2, -4, kInfoFailed, "C_GetSlotList() => 0x00000030", kNone},
  Failure{"TheFirstSessionIsRefused", "C_OpenSession", CKR_SESSION_COUNT, 1, -5, kOpenFailed, "C_OpenSession() => 0x000000B1", kNone},
  Failure{"TheSecondSessionIsRefused", "C_OpenSession", CKR_SESSION_COUNT, 2, -5, kOpenFailed, "C_OpenSession() => 0x000000B1", kFirst},
  Failure{"TheSearchCannotStart", "C_FindObjectsInit", CKR_OPERATION_ACTIVE, 1, -6, kSearchFailed, "C_FindObjectsInit() => 0x00000090", kFirst},
  Failure{"TheSearchBreaksOff", "C_FindObjects", CKR_DEVICE_REMOVED, 1, -6, kSearchBroke, "C_FindObjects() => 0x00000032", kFirst},
  Failure{"AnAttributeIsRefused", "C_GetAttributeValue", CKR_ATTRIBUTE_TYPE_INVALID, 1, -6, kCannotRead, "C_GetAttributeValue() => 0x00000012", kFirst},
  Failure{"TheSecondSlotsSearchCannotStart", "C_FindObjectsInit", CKR_OPERATION_ACTIVE, 4, -6, kSearchFailed, "C_FindObjectsInit() => 0x00000090", kBoth}
), [](const auto &info) { return std::string(info.param.name); });
// clang-format on

TEST_P(QELTokenFailure, GivesNilAndTheErrorAndClosesWhatWasOpen) {
  NSError *error = nil;
  ExpectFailure(&error);
  EXPECT_TRUE(IsError(error, @"QELToken", GetParam().code));
  EXPECT_STREQ([[error localizedDescription] UTF8String], GetParam().message);
}

TEST_P(QELTokenFailure, WritesTheErrorToTheSystemLog) {
  NSError *error = nil;
  ExpectFailure(&error);
  // Newer Foundations add domain and code to what an error says of itself.
  const std::string description = [[error description] UTF8String];
  EXPECT_NE(description.find(GetParam().message), std::string::npos) << description;
  Texts expected = LoaderLine();
  expected.push_back("error: " + description);
  EXPECT_EQ(SystemLogOfTheToken(), expected);
}

TEST_P(QELTokenFailure, WithoutAnErrorOutPointerWritesNoMessage) {
  ExpectFailure(nullptr);
  EXPECT_EQ(SystemLogOfTheToken(), LoaderLine());
}

class QELTokenWithoutReader : public TokenTest {};

TEST_F(QELTokenWithoutReader, NoSlotsAreReportedAndNoSlotIsAskedFor) {
  FakeCard card({});
  @autoreleasepool {
    NSError *error = nil;
    EXPECT_EQ(MakeToken(&error), nil);
    EXPECT_TRUE(IsError(error, @"QELToken", -4));
    EXPECT_STREQ([[error localizedDescription] UTF8String], "No smart card reader found");
  }
  EXPECT_EQ(m_log.Errors(), Texts{"no slot found"});
  EXPECT_EQ(card.Names(), (Texts{"C_Initialize", "C_GetSlotList"}));
}

TEST_F(QELTokenWithoutReader, AnUnknownReaderIsReportedAndNoSessionIsTouched) {
  FakeCard card({{7, "Another Reader"}});
  @autoreleasepool {
    NSError *error = nil;
    EXPECT_EQ(MakeToken(&error), nil);
    EXPECT_TRUE(IsError(error, @"QELToken", -4));
    EXPECT_STREQ([[error localizedDescription] UTF8String], "Requested smart card reader not found");
  }
  EXPECT_EQ(m_log.Errors(), Texts{});
  EXPECT_EQ(m_log.Infos(), (Texts{"CTK slot name: Example Reader 0", "slotName Another Reader",
                                  "Requested name was Example Reader 0"}));
  EXPECT_EQ(card.Names().back(), "C_GetSlotInfo");
}
