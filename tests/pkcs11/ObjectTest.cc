#include "pkcs11/Object.h"

#include <algorithm>
#include <cstddef>
#include <functional>

#include "tests/pkcs11/CardTest.h"

using namespace TestCard;
using ByteString = std::vector<CK_BYTE>;

namespace {

constexpr CK_OBJECT_HANDLE kObject = 7;
constexpr CK_SESSION_HANDLE kSession = 42;

template <typename Kind>
Kind On() {
  Kind object;
  object.object = kObject;
  object.session = kSession;
  return object;
}

ByteString BytesOf(const std::string& text) {
  return {text.begin(), text.end()};
}

/// A reader of an attribute of any length.
struct BytesReader {
  const char* attribute;
  std::function<ByteString()> read;
};

/// A reader of an attribute of fixed size.
struct ValueReader {
  const char* name;
  const char* attribute;
  std::function<bool()> read;
  CK_ULONG size;
};

void PrintTo(const BytesReader& reader, std::ostream* stream) {
  *stream << reader.attribute;
}

void PrintTo(const ValueReader& reader, std::ostream* stream) {
  *stream << reader.name;
}

class EveryBytesReader : public CardTest, public ::testing::WithParamInterface<BytesReader> {
 protected:
  ByteString Read() const { return GetParam().read(); }
  Texts CallsWith(const std::string& first, const std::string& second) const {
    const std::string call = std::string("C_GetAttributeValue session=42 object=7 ") + GetParam().attribute;
    return {call + first, call + second};
  }
};

class EveryValueReader : public CardTest, public ::testing::WithParamInterface<ValueReader> {};

/// Fills a fixed-size attribute whose buffer must be exactly `bytes` long.
Fill Value(ByteString bytes) {
  return [bytes](Call& call) {
    ASSERT_EQ(call.attributes->ulValueLen, bytes.size());
    std::copy(bytes.begin(), bytes.end(), static_cast<CK_BYTE*>(call.attributes->pValue));
  };
}

ByteString Number(CK_ULONG value, CK_ULONG size) {
  const auto* bytes = reinterpret_cast<const CK_BYTE*>(&value);
  return {bytes, bytes + size};
}

constexpr char kCannotRead[] = "Cannot read object's attribute";

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    , EveryBytesReader,
    ::testing::Values(BytesReader{"CKA_ID", [] { return On<PKCS11::Object>().GetID(); }},
                      BytesReader{"CKA_LABEL", [] { return BytesOf(On<PKCS11::Object>().GetLabel()); }},
                      BytesReader{"CKA_VALUE", [] { return On<PKCS11::Certificate>().GetValue(); }}),
    [](const auto& info) { return std::string(info.param.attribute + 4); });

TEST_P(EveryBytesReader, AsksForTheLengthThenForTheValue) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(3)}, {"C_GetAttributeValue", CKR_OK, Bytes({1, 0, 3})}});
  EXPECT_EQ(Read(), (ByteString{1, 0, 3}));
  EXPECT_EQ(card.Calls(), CallsWith("=?", "=buffer"));
  EXPECT_EQ(m_log.Lines(), LogLines{});
}

TEST_P(EveryBytesReader, ALengthOfZeroGivesAnEmptyValueAfterTwoCallsWithoutABuffer) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(0)}, {"C_GetAttributeValue", CKR_OK, Length(0)}});
  EXPECT_EQ(Read(), ByteString{});
  EXPECT_EQ(card.Calls(), CallsWith("=?", "=?"));
}

TEST_P(EveryBytesReader, TheBufferIsZeroBeforeTheLibraryFillsIt) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(4)}, {"C_GetAttributeValue"}});
  EXPECT_EQ(Read(), (ByteString{0, 0, 0, 0}));
}

TEST_P(EveryBytesReader, TheValueHasTheLengthOfTheFirstCallWhateverTheSecondReports) {
  const auto reportLess = [](Call& call) {
    EXPECT_EQ(call.attributes->ulValueLen, CK_ULONG{4});
    *static_cast<CK_BYTE*>(call.attributes->pValue) = 1;
    call.attributes->ulValueLen = 1;
  };
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(4)}, {"C_GetAttributeValue", CKR_OK, reportLess}});
  EXPECT_EQ(Read(), (ByteString{1, 0, 0, 0}));
}

TEST_P(EveryBytesReader, ARefusedLengthQueryIsLoggedAndThrown) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_ATTRIBUTE_TYPE_INVALID}});
  EXPECT_TRUE(IsFailure(CatchTokenException([&] { Read(); }), -6, kCannotRead));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetAttributeValue() => 0x00000012"}}));
}

TEST_P(EveryBytesReader, ARefusedValueIsLoggedAndThrown) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(3)}, {"C_GetAttributeValue", CKR_ATTRIBUTE_SENSITIVE}});
  EXPECT_TRUE(IsFailure(CatchTokenException([&] { Read(); }), -6, kCannotRead));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetAttributeValue() => 0x00000011"}}));
}

TEST_P(EveryBytesReader, ALengthThatTheLibraryDoesNotKnowIsAFailure) {
  for (const CK_ULONG length : {CK_UNAVAILABLE_INFORMATION, kLargestAnswer + 1}) {
    ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(length)}});
    EXPECT_TRUE(IsFailure(CatchTokenException([&] { Read(); }), -6, kCannotRead));
  }
  EXPECT_EQ(m_log.Errors().size(), 2u);
}

TEST_P(EveryBytesReader, TheLargestLengthOfAllIsRead) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(kLargestAnswer)},
                     {"C_GetAttributeValue", CKR_OK, Length(kLargestAnswer)}});
  EXPECT_EQ(Read().size(), kLargestAnswer);
}

class ObjectTest : public CardTest {};

TEST_F(ObjectTest, IsItsHandleThenItsSessionAndNothingElseOfWhateverKind) {
  EXPECT_EQ(offsetof(PKCS11::Object, object), 0u);
  EXPECT_EQ(offsetof(PKCS11::Object, session), sizeof(CK_OBJECT_HANDLE));
  for (const size_t size : {sizeof(PKCS11::Object), sizeof(PKCS11::Certificate), sizeof(PKCS11::PublicKey)}) {
    EXPECT_EQ(size, sizeof(CK_OBJECT_HANDLE) + sizeof(CK_SESSION_HANDLE));
  }
}

TEST_F(ObjectTest, ALabelKeepsAZeroByteAndEverythingAfterIt) {
  const std::string label("a\0b ", 4);
  ScriptedCard card(
      {{"C_GetAttributeValue", CKR_OK, Length(4)}, {"C_GetAttributeValue", CKR_OK, Bytes(BytesOf(label))}});
  EXPECT_EQ(On<PKCS11::Object>().GetLabel(), label);
}

TEST_F(ObjectTest, CertificatesAndPublicKeysReadIdentifierAndLabelToo) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Length(1)},
                     {"C_GetAttributeValue", CKR_OK, Bytes({5})},
                     {"C_GetAttributeValue", CKR_OK, Length(1)},
                     {"C_GetAttributeValue", CKR_OK, Bytes({'k'})}});
  EXPECT_EQ(On<PKCS11::Certificate>().GetID(), ByteString{5});
  EXPECT_EQ(On<PKCS11::PublicKey>().GetLabel(), "k");
}

INSTANTIATE_TEST_SUITE_P(
    , EveryValueReader,
    ::testing::Values(ValueReader{"CanVerify", "CKA_VERIFY", [] { return On<PKCS11::PublicKey>().CanVerify(); }, 1},
                      ValueReader{"CanEncrypt", "CKA_ENCRYPT", [] { return On<PKCS11::PublicKey>().CanEncrypt(); }, 1},
                      ValueReader{"IsEC", "CKA_KEY_TYPE", [] { return On<PKCS11::PublicKey>().IsEC(); },
                                  sizeof(CK_ULONG)}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_P(EveryValueReader, ReadsTheAttributeWithOneCallIntoABufferOfItsSize) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Value(Number(CKK_EC, GetParam().size))}});
  EXPECT_TRUE(GetParam().read());
  EXPECT_EQ(card.Calls(),
            (Texts{std::string("C_GetAttributeValue session=42 object=7 ") + GetParam().attribute + "=buffer"}));
}

TEST_P(EveryValueReader, ZeroIsFalse) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Value(Number(CKK_RSA, GetParam().size))}});
  EXPECT_FALSE(GetParam().read());
}

TEST_P(EveryValueReader, AnAttributeThatTheCardLacksHasNoDefault) {
  ScriptedCard card({{"C_GetAttributeValue", CKR_ATTRIBUTE_TYPE_INVALID}});
  EXPECT_TRUE(IsFailure(CatchTokenException([] { GetParam().read(); }), -6, kCannotRead));
  EXPECT_EQ(m_log.Lines(), (LogLines{{kError, "C_GetAttributeValue() => 0x00000012"}}));
}

TEST_F(ObjectTest, AnyCapabilityByteButZeroIsTrue) {
  for (int byte = 0; byte <= 0xFF; ++byte) {
    const auto value = Value({static_cast<CK_BYTE>(byte)});
    ScriptedCard card({{"C_GetAttributeValue", CKR_OK, value}, {"C_GetAttributeValue", CKR_OK, value}});
    EXPECT_EQ(On<PKCS11::PublicKey>().CanVerify(), byte != 0) << byte;
    EXPECT_EQ(On<PKCS11::PublicKey>().CanEncrypt(), byte != 0) << byte;
  }
}

TEST_F(ObjectTest, OnlyTheEcKeyTypeIsEc) {
  const std::vector<CK_KEY_TYPE> others = {
      CKK_RSA,     CKK_DSA,        CKK_DH, 4, 0x40, 0x41, 0x103, 0x10003, CKK_VENDOR_DEFINED | CKK_EC,
      0x100000003, ~CK_KEY_TYPE{0}};
  for (const CK_KEY_TYPE type : others) {
    ScriptedCard card({{"C_GetAttributeValue", CKR_OK, Value(Number(type, sizeof(CK_ULONG)))}});
    EXPECT_FALSE(On<PKCS11::PublicKey>().IsEC()) << type;
  }
}
