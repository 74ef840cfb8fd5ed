#include <dlfcn.h>

#include <sstream>

#include "softcard/library/Functions.h"
#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

constexpr char kSoftHsm[] = "/usr/lib/softhsm/libsofthsm2.so";
constexpr char kSoftoken[] = "libsoftokn3.so";

/// Answers to a conversation, a line per call: what is compared between the library and the one beneath it. Handles and
/// random results are left out; everything else that a call gives back is in.
class Conversation {
 public:
  explicit Conversation(CK_FUNCTION_LIST* functions) : m_functions(functions) {}

  template <typename... Arguments, typename... Given>
  CK_RV Call(const char* name, CK_RV (*function)(Arguments...), Given... given) {
    const auto result = function(given...);
    m_lines << name << " " << ResultName(result) << "\n";
    return result;
  }
  void Note(const std::string& text) { m_lines << "  " << text << "\n"; }
  void Note(const void* data, size_t size) {
    for (size_t i = 0; i < size; i++) m_lines << Hex(static_cast<const unsigned char*>(data)[i], 2);
    m_lines << "\n";
  }
  std::string Lines() const { return m_lines.str(); }
  CK_FUNCTION_LIST* operator->() const { return m_functions; }

 private:
  CK_FUNCTION_LIST* m_functions;
  std::ostringstream m_lines;
};

#define CALL(function, ...) talk.Call(#function, talk->function, ##__VA_ARGS__)

CK_UTF8CHAR* Utf8(std::string& text) {
  return reinterpret_cast<CK_UTF8CHAR*>(text.data());
}

/// Null pointers where the standard wants none; not every library survives them.
void AskWithNullPointers(Conversation& talk) {
  CALL(C_GetInfo, nullptr);
  CALL(C_GetSlotList, CK_FALSE, nullptr, nullptr);
  CALL(C_GetSlotInfo, 0UL, nullptr);
}

void AskEverythingWithoutASession(Conversation& talk) {
  CK_INFO info{};
  CALL(C_GetInfo, &info);
  talk.Note(&info, sizeof info);
  CK_ULONG count = 0;
  CALL(C_GetSlotList, CK_FALSE, nullptr, &count);
  std::vector<CK_SLOT_ID> slots(count);
  CALL(C_GetSlotList, CK_FALSE, slots.data(), &count);
  talk.Note(slots.data(), slots.size() * sizeof slots[0]);
  count = 0;
  CALL(C_GetSlotList, CK_FALSE, slots.data(), &count);
  slots.push_back(987654321);
  for (const auto slot : slots) {
    CK_SLOT_INFO slotInfo{};
    CK_TOKEN_INFO token{};
    CALL(C_GetSlotInfo, slot, &slotInfo);
    talk.Note(&slotInfo, sizeof slotInfo);
    CALL(C_GetTokenInfo, slot, &token);
    talk.Note(&token, offsetof(CK_TOKEN_INFO, utcTime));
    CK_ULONG mechanisms = 0;
    CALL(C_GetMechanismList, slot, nullptr, &mechanisms);
    std::vector<CK_MECHANISM_TYPE> types(mechanisms);
    CALL(C_GetMechanismList, slot, types.data(), &mechanisms);
    talk.Note(types.data(), types.size() * sizeof types[0]);
    types.push_back(0x7FFFFFFF);
    for (const auto type : types) {
      CK_MECHANISM_INFO mechanism{};
      CALL(C_GetMechanismInfo, slot, type, &mechanism);
      talk.Note(&mechanism, sizeof mechanism);
    }
    CALL(C_CloseAllSessions, slot);
    CK_SESSION_HANDLE session = 0;
    CALL(C_OpenSession, slot, 0UL, nullptr, nullptr, &session);
  }
  CK_SLOT_ID slot = 0;
  CALL(C_WaitForSlotEvent, static_cast<CK_FLAGS>(CKF_DONT_BLOCK), &slot, nullptr);
}

/// Every call that takes a session, with one that does not exist.
void AskWithoutValidSession(Conversation& talk) {
  const CK_SESSION_HANDLE none = 424242;
  unsigned char bytes[64] = {};
  CK_ULONG length = sizeof bytes;
  CK_OBJECT_HANDLE object = 0;
  CK_MECHANISM mechanism{CKM_SHA256, nullptr, 0};
  CK_ATTRIBUTE attribute{CKA_LABEL, bytes, 1};
  CK_SESSION_INFO info{};
  CALL(C_GetSessionInfo, none, &info);
  CALL(C_Login, none, CKU_USER, bytes, 4UL);
  CALL(C_Logout, none);
  CALL(C_InitPIN, none, bytes, 4UL);
  CALL(C_SetPIN, none, bytes, 4UL, bytes, 4UL);
  CALL(C_GetOperationState, none, bytes, &length);
  CALL(C_SetOperationState, none, bytes, 4UL, 0UL, 0UL);
  CALL(C_CreateObject, none, &attribute, 1UL, &object);
  CALL(C_CopyObject, none, 1UL, &attribute, 1UL, &object);
  CALL(C_DestroyObject, none, 1UL);
  CALL(C_GetObjectSize, none, 1UL, &length);
  CALL(C_GetAttributeValue, none, 1UL, &attribute, 1UL);
  CALL(C_SetAttributeValue, none, 1UL, &attribute, 1UL);
  CALL(C_FindObjectsInit, none, &attribute, 1UL);
  CALL(C_FindObjects, none, &object, 1UL, &length);
  CALL(C_FindObjectsFinal, none);
  CALL(C_EncryptInit, none, &mechanism, 1UL);
  CALL(C_Encrypt, none, bytes, 4UL, bytes, &length);
  CALL(C_EncryptUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_EncryptFinal, none, bytes, &length);
  CALL(C_DecryptInit, none, &mechanism, 1UL);
  CALL(C_Decrypt, none, bytes, 4UL, bytes, &length);
  CALL(C_DecryptUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_DecryptFinal, none, bytes, &length);
  CALL(C_DigestInit, none, &mechanism);
  CALL(C_Digest, none, bytes, 4UL, bytes, &length);
  CALL(C_DigestUpdate, none, bytes, 4UL);
  CALL(C_DigestKey, none, 1UL);
  CALL(C_DigestFinal, none, bytes, &length);
  CALL(C_SignInit, none, &mechanism, 1UL);
  CALL(C_Sign, none, bytes, 4UL, bytes, &length);
  CALL(C_SignUpdate, none, bytes, 4UL);
  CALL(C_SignFinal, none, bytes, &length);
  CALL(C_SignRecoverInit, none, &mechanism, 1UL);
  CALL(C_SignRecover, none, bytes, 4UL, bytes, &length);
  CALL(C_VerifyInit, none, &mechanism, 1UL);
  CALL(C_Verify, none, bytes, 4UL, bytes, 4UL);
  CALL(C_VerifyUpdate, none, bytes, 4UL);
  CALL(C_VerifyFinal, none, bytes, 4UL);
  CALL(C_VerifyRecoverInit, none, &mechanism, 1UL);
  CALL(C_VerifyRecover, none, bytes, 4UL, bytes, &length);
  CALL(C_DigestEncryptUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_DecryptDigestUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_SignEncryptUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_DecryptVerifyUpdate, none, bytes, 4UL, bytes, &length);
  CALL(C_GenerateKey, none, &mechanism, &attribute, 1UL, &object);
  CALL(C_GenerateKeyPair, none, &mechanism, &attribute, 1UL, &attribute, 1UL, &object, &object);
  CALL(C_WrapKey, none, &mechanism, 1UL, 1UL, bytes, &length);
  CALL(C_UnwrapKey, none, &mechanism, 1UL, bytes, 4UL, &attribute, 1UL, &object);
  CALL(C_DeriveKey, none, &mechanism, 1UL, &attribute, 1UL, &object);
  CALL(C_SeedRandom, none, bytes, 4UL);
  CALL(C_GenerateRandom, none, bytes, 4UL);
  CALL(C_GetFunctionStatus, none);
  CALL(C_CancelFunction, none);
  CALL(C_CloseSession, none);
}

/// Login, search, a raw signature with an operation left open, and an agreement that the library beneath refuses.
void UseTheToken(Conversation& talk, CK_SLOT_ID slot) {
  CK_SESSION_HANDLE session = 0;
  CALL(C_OpenSession, slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session);
  std::string wrong = "wrong";
  std::string right = kPin;
  for (int i = 0; i < 5; i++) CALL(C_Login, session, CKU_USER, Utf8(wrong), wrong.size());
  CALL(C_Login, session, CKU_USER, nullptr, 0UL);
  CALL(C_Login, session, CKU_USER, Utf8(right), right.size());
  CALL(C_Login, session, CKU_USER, Utf8(right), right.size());
  CK_TOKEN_INFO token{};
  CALL(C_GetTokenInfo, slot, &token);
  talk.Note(Hex(token.flags));

  CK_OBJECT_CLASS type = CKO_PRIVATE_KEY;
  CK_ATTRIBUTE wanted{CKA_CLASS, &type, sizeof type};
  CK_OBJECT_HANDLE key = 0;
  CK_ULONG count = 0;
  CALL(C_FindObjectsInit, session, &wanted, 1UL);
  CALL(C_FindObjects, session, &key, 1UL, &count);
  talk.Note(std::to_string(count));
  CALL(C_FindObjectsFinal, session);

  CK_MECHANISM sign{CKM_ECDSA, nullptr, 0};
  unsigned char digest[32] = {1};
  unsigned char signature[64];
  CK_ULONG length = 0;
  CALL(C_SignInit, session, &sign, key);
  CALL(C_SignInit, session, &sign, key);
  CALL(C_Sign, session, digest, sizeof digest, nullptr, &length);
  talk.Note(std::to_string(length));
  CALL(C_Sign, session, digest, sizeof digest, signature, &length);

  unsigned char point[64] = {1};
  CK_ECDH1_DERIVE_PARAMS parameters{CKD_SHA1_KDF, 0, nullptr, sizeof point, point};
  CK_MECHANISM derive{CKM_ECDH1_DERIVE, &parameters, sizeof parameters};
  CK_OBJECT_HANDLE derived = 0;
  CALL(C_DeriveKey, session, &derive, key, nullptr, 0UL, &derived);
  CALL(C_CloseSession, session);
  CALL(C_GetSessionInfo, session, nullptr);
}

std::string Talk(const std::string& path, const char* parameters) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return dlerror();
  const auto getFunctionList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
  CK_FUNCTION_LIST* functions = nullptr;
  Conversation talk(nullptr);
  if (getFunctionList(&functions) != CKR_OK) return "no function list";
  talk = Conversation(functions);
  if (!parameters) talk.Call("C_GetFunctionList", getFunctionList, nullptr);
  talk.Note(&functions->version, sizeof functions->version);
  CK_SESSION_HANDLE session = 0;
  CALL(C_OpenSession, 0UL, 0UL, nullptr, nullptr, &session);
  CALL(C_Finalize, nullptr);

  // With parameters the library itself gets them from its caller, and through the soft card from the state.
  struct {
    CK_C_INITIALIZE_ARGS standard;
    void* after;
  } arguments{};
  arguments.standard.flags = parameters ? CKF_OS_LOCKING_OK : 0x00030000;
  arguments.standard.pReserved = const_cast<char*>(parameters);
  CALL(C_Initialize, &arguments);
  CALL(C_Initialize, nullptr);
  AskEverythingWithoutASession(talk);
  AskWithoutValidSession(talk);
  if (!parameters) {
    AskWithNullPointers(talk);
    CK_SLOT_ID slots[4];
    CK_ULONG count = 4;
    CALL(C_GetSlotList, CK_TRUE, slots, &count);
    for (CK_ULONG i = 0; i < count; i++) UseTheToken(talk, slots[i]);
  }
  CALL(C_Finalize, &arguments);
  CALL(C_Finalize, nullptr);
  return talk.Lines();
}

class SoftCardForwarding : public SoftCardFixture {
 protected:
  void SetUp() override { Make({"demo"}); }
  const ScopedEnvironment m_store{"SOFTHSM2_CONF", (m_directory / "softhsm2.conf").string()};
};

TEST_F(SoftCardForwarding, EveryFunctionOfTheListIsThere) {
#define ROW(name, first, arguments) EXPECT_NE(Library()->name, nullptr) << #name;
  SOFTCARD_FUNCTIONS(ROW)
#undef ROW
  EXPECT_NE(Library()->C_GetFunctionList, nullptr);
}

TEST_F(SoftCardForwarding, WithoutReadersTheAnswersAreThoseOfTheLibraryBeneath) {
  const auto beneath = Talk(kSoftHsm, nullptr);
  ASSERT_NE(beneath.find("C_Sign CKR_OK"), std::string::npos) << beneath;
  EXPECT_EQ(Talk(SOFTCARD_LIBRARY, nullptr), beneath);
}

TEST_F(SoftCardForwarding, AStoreOfTheCallersOwnIsForwardedToAlthoughThereAreReaders) {
  Insert(m_directory, "demo", kReaderName);
  const ScopedEnvironment unset("QEL_SOFTCARD_DIR", std::nullopt);
  EXPECT_EQ(Talk(SOFTCARD_LIBRARY, nullptr), Talk(kSoftHsm, nullptr));
}

TEST_F(SoftCardForwarding, NssSoftokenCanBeTheLibraryBeneath) {
  const std::string database = m_temporary.Path() / "nss";
  std::filesystem::create_directory(database);
  const std::string parameters = "configdir='sql:" + database + "' certPrefix='' keyPrefix='' secmod='secmod.db'";
  const auto beneath = Talk(kSoftoken, parameters.c_str());
  ASSERT_NE(beneath.find("C_GetInfo CKR_OK"), std::string::npos) << beneath;
  Update(m_directory, [&](State& state) {
    state.library = kSoftoken;
    state.parameters = parameters;
  });
  EXPECT_EQ(Talk(SOFTCARD_LIBRARY, ""), beneath);
}

TEST_F(SoftCardForwarding, ALibraryBeneathThatIsMissingIsNamed) {
  Update(m_directory, [](State& state) { state.library = "/nowhere/lib.so"; });
  ::testing::internal::CaptureStderr();
  EXPECT_THROW(Library(), std::runtime_error);
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("/nowhere/lib.so"), std::string::npos);
}

}  // namespace
