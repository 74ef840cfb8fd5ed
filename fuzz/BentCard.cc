#include "fuzz/BentCard.h"

#include <algorithm>
#include <cstring>
#include <map>

#include "fuzz/ExtensionUnderFuzz.h"
#include "tests/support/TestCertificates.h"

using TestCard::ByteString;
using TestCard::Call;
using TestCard::FakeObject;
using TestCard::FakeSlot;

namespace {

enum class Kind : uint8_t { Proper, Refused, Length, Bytes, Accepted, kMaxValue = Accepted };

ByteString AnyCertificate(FuzzedDataProvider& input) {
  static const ByteString kWhole[] = {TestCertificates::Rsa(), TestCertificates::Ec(), TestCertificates::Ed25519()};
  const size_t kind = input.ConsumeIntegralInRange<size_t>(0, 6);
  if (kind > 4) return input.ConsumeBytes<CK_BYTE>(input.ConsumeIntegralInRange<size_t>(0, 600));
  ByteString certificate = kWhole[kind % std::size(kWhole)];
  for (int changes = input.ConsumeIntegralInRange(0, 3); changes > 0; --changes) {
    certificate[input.ConsumeIntegralInRange<size_t>(0, certificate.size() - 1)] = input.ConsumeIntegral<CK_BYTE>();
  }
  return certificate;
}

FakeSlot AnySlot(FuzzedDataProvider& input, CK_SLOT_ID id) {
  FakeSlot slot{id, ExtensionUnderFuzz::kReader};
  slot.tokenFlags = input.ConsumeBool() ? CKF_PROTECTED_AUTHENTICATION_PATH : 0;
  slot.slotType = 0x80000001 + input.ConsumeIntegralInRange<CK_ULONG>(0, 3);
  slot.derivesKeys = !input.ConsumeBool();
  if (input.ConsumeBool()) slot.serialNumber = input.ConsumeRandomLengthString(20);
  CK_OBJECT_HANDLE handle = 1;
  for (CK_BYTE pair = 0; pair < 2; ++pair) {
    const ByteString id = input.ConsumeBool() ? ByteString{1, pair} : input.ConsumeBytes<CK_BYTE>(3);
    const std::string label = input.ConsumeRandomLengthString(40);
    slot.objects.push_back(TestCard::UserCertificate(handle++, id, label, AnyCertificate(input)));
    slot.objects.push_back(TestCard::PublicKeyObject(handle++, id, label, pair == 0 ? CKK_RSA : CKK_EC));
    slot.objects.push_back(TestCard::PrivateKeyObject(handle++, id));
  }
  return slot;
}

std::vector<FakeSlot> AnySlots(FuzzedDataProvider& input) {
  std::vector<FakeSlot> slots;
  for (CK_SLOT_ID id = 7; slots.size() < input.ConsumeIntegralInRange<size_t>(1, 3); ++id) {
    slots.push_back(AnySlot(input, id));
  }
  return slots;
}

/// How many bytes a call gives besides what has a length.
size_t FixedSize(const std::string& call) {
  static const std::map<std::string, size_t> kSizes = {
      {"C_GetSlotInfo", sizeof(CK_SLOT_INFO)},       {"C_GetTokenInfo", sizeof(CK_TOKEN_INFO)},
      {"C_GetSessionInfo", sizeof(CK_SESSION_INFO)}, {"C_OpenSession", sizeof(CK_SESSION_HANDLE)},
      {"C_DeriveKey", sizeof(CK_OBJECT_HANDLE)},     {"C_GetSlotType", sizeof(CK_ULONG)}};
  const auto size = kSizes.find(call);
  return size != kSizes.end() ? size->second : 0;
}

/// How many bytes the call may write at its output.
size_t RoomOf(const Call& call) {
  const std::string name = call.name;
  if (call.output == nullptr) return 0;
  if (name == "C_FindObjects") return call.capacity * sizeof(CK_OBJECT_HANDLE);
  if (name == "C_GetSlotList") return *call.outputLength * sizeof(CK_SLOT_ID);
  return call.outputLength != nullptr ? *call.outputLength : FixedSize(name);
}

}  // namespace

BentCard::BentCard(FuzzedDataProvider& input) : FakeCard(AnySlots(input)), m_input(input) {
  IgnoreLeftovers();
}

CK_RV BentCard::AnyReturnValue() {
  static constexpr CK_RV kUsual[] = {CKR_GENERAL_ERROR,     CKR_DEVICE_REMOVED, CKR_BUFFER_TOO_SMALL,
                                     CKR_PIN_INCORRECT,     CKR_PIN_LOCKED,     CKR_USER_ALREADY_LOGGED_IN,
                                     CKR_FUNCTION_CANCELED, CKR_CANCEL,         CKR_SESSION_HANDLE_INVALID};
  return m_input.ConsumeBool() ? m_input.PickValueInArray(kUsual) : m_input.ConsumeIntegral<CK_RV>();
}

CK_ULONG BentCard::AnyLength(CK_ULONG proper) {
  switch (m_input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      return proper + 1;
    case 1:
      return proper / 2;
    case 2:
      return m_input.ConsumeIntegral<uint16_t>();
    default:
      return m_input.ConsumeIntegral<CK_ULONG>() | CK_ULONG{1} << 32;  // more than any buffer
  }
}

void BentCard::Overwrite(void* bytes, size_t size) {
  const ByteString garbage = m_input.ConsumeBytes<CK_BYTE>(std::min<size_t>(size, 64));
  if (!garbage.empty()) std::memcpy(bytes, garbage.data(), garbage.size());
}

CK_RV BentCard::Bend(Call& call) {
  const auto kind = m_input.ConsumeBool() ? m_input.ConsumeEnum<Kind>() : Kind::Proper;
  if (kind == Kind::Refused) {
    OnFault(call);
    return AnyReturnValue();
  }
  const size_t room = RoomOf(call);
  const CK_RV rv = FakeCard::Answer(call);
  if (kind == Kind::Length) {
    if (call.outputLength != nullptr) *call.outputLength = AnyLength(*call.outputLength);
    if (std::string(call.name) == "C_GetAttributeValue") {
      call.attributes[0].ulValueLen = AnyLength(call.attributes[0].ulValueLen);
    }
  }
  if (kind == Kind::Bytes) Overwrite(call.output, room);
  return kind == Kind::Proper ? rv : CKR_OK;
}

CK_RV BentCard::Answer(Call& call) {
  const CK_RV rv = Bend(call);
  const std::string name = call.name;
  if (name == "C_OpenSession" && rv == CKR_OK) ++m_opened;
  if (name == "C_CloseSession") ++m_closed;
  if (name == "C_FindObjectsInit" && rv == CKR_OK) ++m_begun;
  if (name == "C_FindObjectsFinal") ++m_ended;
  return rv;
}
