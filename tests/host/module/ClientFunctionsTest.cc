/// The module as a PKCS#11 application sees it, through p11-kit's client.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>
#include <signal.h>
#include <stdlib.h>

#include <cstring>

#include "tests/host/module/ModuleCard.h"

namespace {

class ClientFunctions : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const auto& [name, value] : m_card.Environment())
      if (value) setenv(name.c_str(), value->c_str(), 1);
    void* const library = dlopen(QEL_P11_KIT_CLIENT, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(library, "C_GetFunctionList"));
    ASSERT_EQ(getList(&m_functions), CKR_OK);
    ASSERT_EQ(m_functions->C_Initialize(nullptr), CKR_OK);
    CK_ULONG count = 8;
    CK_SLOT_ID slots[8];
    ASSERT_EQ(m_functions->C_GetSlotList(CK_TRUE, slots, &count), CKR_OK);
    ASSERT_EQ(count, 1u);
    m_slot = slots[0];
    ASSERT_EQ(m_functions->C_OpenSession(m_slot, CKF_SERIAL_SESSION, nullptr, nullptr, &m_session), CKR_OK);
  }

  void TearDown() override {
    if (m_functions) m_functions->C_Finalize(nullptr);
  }

  CK_RV LogIn(std::string pin = ModuleCard::Pin()) const {
    return m_functions->C_Login(m_session, CKU_USER, reinterpret_cast<CK_UTF8CHAR*>(pin.data()), pin.size());
  }

  std::vector<CK_OBJECT_HANDLE> Find(CK_OBJECT_CLASS kind) const {
    CK_ATTRIBUTE wanted = {CKA_CLASS, &kind, sizeof kind};
    EXPECT_EQ(m_functions->C_FindObjectsInit(m_session, &wanted, 1), CKR_OK);
    std::vector<CK_OBJECT_HANDLE> found(8);
    CK_ULONG count = 0;
    EXPECT_EQ(m_functions->C_FindObjects(m_session, found.data(), found.size(), &count), CKR_OK);
    EXPECT_EQ(m_functions->C_FindObjectsFinal(m_session), CKR_OK);
    found.resize(count);
    return found;
  }

  CK_RV BeginSignature(CK_MECHANISM_TYPE type, CK_OBJECT_HANDLE key) const {
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return m_functions->C_SignInit(m_session, &mechanism, key);
  }

  const ModuleCard m_card{"p256"};
  CK_FUNCTION_LIST* m_functions = nullptr;
  CK_SLOT_ID m_slot = 0;
  CK_SESSION_HANDLE m_session = 0;
};

TEST_F(ClientFunctions, ShowThePrivateKeyToWhomHasLoggedInOnly) {
  EXPECT_EQ(Find(CKO_CERTIFICATE).size(), 1u);
  EXPECT_EQ(Find(CKO_PUBLIC_KEY).size(), 1u);
  EXPECT_EQ(Find(CKO_PRIVATE_KEY).size(), 0u);
  ASSERT_EQ(LogIn(), CKR_OK);
  EXPECT_EQ(Find(CKO_PRIVATE_KEY).size(), 1u);
  ASSERT_EQ(m_functions->C_Logout(m_session), CKR_OK);
  EXPECT_EQ(Find(CKO_PRIVATE_KEY).size(), 0u);
}

TEST_F(ClientFunctions, RefuseAWrongPinAndTakeTheRightOneThen) {
  EXPECT_EQ(LogIn("wrong"), CKR_PIN_INCORRECT);
  EXPECT_EQ(LogIn(), CKR_OK);
  EXPECT_EQ(LogIn(), CKR_USER_ALREADY_LOGGED_IN);
}

TEST_F(ClientFunctions, SignWithTheLengthThatTheyAnnounce) {
  ASSERT_EQ(LogIn(), CKR_OK);
  const CK_OBJECT_HANDLE key = Find(CKO_PRIVATE_KEY).at(0);
  ASSERT_EQ(BeginSignature(CKM_ECDSA, key), CKR_OK);
  EXPECT_EQ(BeginSignature(CKM_ECDSA, key), CKR_OPERATION_ACTIVE);
  CK_BYTE digest[32] = {1}, signature[100];
  CK_ULONG length = 10;
  EXPECT_EQ(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_BUFFER_TOO_SMALL);
  EXPECT_EQ(length, 64u);
  length = sizeof signature;
  EXPECT_EQ(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_OK);
  EXPECT_EQ(length, 64u);
  EXPECT_EQ(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(ClientFunctions, RefuseWhatTheKeyCannotDo) {
  ASSERT_EQ(LogIn(), CKR_OK);
  const CK_OBJECT_HANDLE key = Find(CKO_PRIVATE_KEY).at(0);
  EXPECT_EQ(BeginSignature(CKM_RSA_PKCS, key), CKR_KEY_TYPE_INCONSISTENT);
  EXPECT_EQ(BeginSignature(CKM_ECDSA, Find(CKO_PUBLIC_KEY).at(0)), CKR_KEY_HANDLE_INVALID);
  EXPECT_EQ(BeginSignature(CKM_ECDSA, 99), CKR_KEY_HANDLE_INVALID);
  CK_SESSION_HANDLE writable = 0;
  EXPECT_EQ(m_functions->C_OpenSession(m_slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &writable),
            CKR_TOKEN_WRITE_PROTECTED);
}

TEST_F(ClientFunctions, TellOfACardThatIsGone) {
  ASSERT_EQ(LogIn(), CKR_OK);
  const CK_OBJECT_HANDLE key = Find(CKO_PRIVATE_KEY).at(0);
  ASSERT_EQ(BeginSignature(CKM_ECDSA, key), CKR_OK);
  ASSERT_EQ(m_card.Card().SoftCard({"remove"}).exitStatus, 0);
  CK_BYTE digest[32] = {1}, signature[100];
  CK_ULONG length = sizeof signature;
  EXPECT_EQ(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_DEVICE_REMOVED);
  CK_ULONG count = 0;
  EXPECT_EQ(m_functions->C_GetSlotList(CK_TRUE, nullptr, &count), CKR_OK);
  EXPECT_EQ(count, 0u);
}

TEST_F(ClientFunctions, KnowNoSessionOfACardThatWasTakenOutAndPutBack) {
  ASSERT_EQ(LogIn(), CKR_OK);
  const CK_OBJECT_HANDLE key = Find(CKO_PRIVATE_KEY).at(0);
  ASSERT_EQ(BeginSignature(CKM_ECDSA, key), CKR_OK);
  CK_ULONG count = 8;
  CK_SLOT_ID slots[8];
  for (int time = 0; time < 3; ++time) {  // a new token may lie where the old one lay
    ASSERT_EQ(m_card.Card().SoftCard({"remove"}).exitStatus, 0);
    ASSERT_EQ(m_card.Card().SoftCard({"insert", "card"}).exitStatus, 0);
    count = 8;
    ASSERT_EQ(m_functions->C_GetSlotList(CK_TRUE, slots, &count), CKR_OK);
    ASSERT_EQ(count, 1u);
    CK_BYTE digest[32] = {1}, signature[100];
    CK_ULONG length = sizeof signature;
    EXPECT_EQ(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_DEVICE_REMOVED);
  }
  CK_SESSION_HANDLE session = 0;
  EXPECT_EQ(m_functions->C_OpenSession(m_slot, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
  EXPECT_NE(session, m_session);
  CK_SESSION_INFO info;
  EXPECT_EQ(m_functions->C_GetSessionInfo(session, &info), CKR_OK);
  EXPECT_EQ(info.state, CKS_RO_PUBLIC_SESSION) << "a login of another insertion";
}

TEST_F(ClientFunctions, ServeAgainAfterTheExtensionEnded) {
  for (int time = 0; time < 2; ++time) {
    SCOPED_TRACE(time);
    ASSERT_EQ(LogIn(), CKR_OK);
    const CK_OBJECT_HANDLE key = Find(CKO_PRIVATE_KEY).at(0);
    ASSERT_EQ(BeginSignature(CKM_ECDSA, key), CKR_OK);
    kill(m_card.Extension(), SIGKILL);
    CK_BYTE digest[32] = {1}, signature[100];
    CK_ULONG length = sizeof signature;
    EXPECT_NE(m_functions->C_Sign(m_session, digest, sizeof digest, signature, &length), CKR_OK);
    EXPECT_EQ(BeginSignature(CKM_ECDSA, key), CKR_DEVICE_REMOVED);
    EXPECT_NE(m_card.Log().find("log in again"), std::string::npos) << m_card.Log();
    ASSERT_EQ(m_functions->C_OpenSession(m_slot, CKF_SERIAL_SESSION, nullptr, nullptr, &m_session), CKR_OK);
  }
}

TEST_F(ClientFunctions, EndWithTheServiceThatTheyReach) {
  CK_ULONG count = 0;
  ASSERT_EQ(m_functions->C_GetSlotList(CK_TRUE, nullptr, &count), CKR_OK);
  signal(SIGPIPE, SIG_IGN);  // p11-kit's client writes to the socket all the same
  m_card.StopService();
  EXPECT_NE(m_functions->C_GetSlotList(CK_TRUE, nullptr, &count), CKR_OK);
}

}  // namespace
