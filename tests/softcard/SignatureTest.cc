#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

struct Row {
  const char* key;
  CK_MECHANISM_TYPE mechanism;
  CK_ULONG length;
};

class SoftCardSignature : public SoftCardFixture, public ::testing::WithParamInterface<Row> {
 protected:
  void SetUp() override {
    m_session = OpenCardWith(GetParam().key);
    CK_MECHANISM mechanism{GetParam().mechanism, nullptr, 0};
    ASSERT_CKR(CKR_OK, Library()->C_SignInit(m_session, &mechanism, Find(m_session, CKO_PRIVATE_KEY)));
  }
  CK_SESSION_HANDLE m_session = CK_INVALID_HANDLE;
  unsigned char m_digest[32] = {1};
};

TEST_P(SoftCardSignature, HasTheLengthThatWasAnnounced) {
  CK_ULONG announced = 0;
  ASSERT_CKR(CKR_OK, Library()->C_Sign(m_session, m_digest, sizeof m_digest, nullptr, &announced));
  EXPECT_EQ(announced, GetParam().length);
  Bytes signature(announced);
  CK_ULONG length = announced;
  ASSERT_CKR(CKR_OK, Library()->C_Sign(m_session, m_digest, sizeof m_digest, signature.data(), &length));
  EXPECT_EQ(length, announced);
}

TEST_P(SoftCardSignature, IsStillDueWhenTheRoomWasTooSmall) {
  Bytes signature(GetParam().length);
  CK_ULONG length = GetParam().length - 1;
  EXPECT_CKR(CKR_BUFFER_TOO_SMALL, Library()->C_Sign(m_session, m_digest, sizeof m_digest, signature.data(), &length));
  length = signature.size();
  EXPECT_CKR(CKR_OK, Library()->C_Sign(m_session, m_digest, sizeof m_digest, signature.data(), &length));
}

TEST_P(SoftCardSignature, OfARemovedCardIsRefused) {
  Remove(m_directory, kReaderName);
  CK_ULONG length = 7;
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_Sign(m_session, m_digest, sizeof m_digest, nullptr, &length));
  EXPECT_EQ(length, 7U);
  CK_MECHANISM mechanism{GetParam().mechanism, nullptr, 0};
  EXPECT_CKR(CKR_DEVICE_REMOVED, Library()->C_SignInit(m_session, &mechanism, 1));
}

INSTANTIATE_TEST_SUITE_P(Keys, SoftCardSignature,
                         ::testing::Values(Row{"rsa2048", CKM_RSA_PKCS, 256}, Row{"p256", CKM_ECDSA, 64},
                                           Row{"p384", CKM_ECDSA, 96}, Row{"p521", CKM_ECDSA, 132}),
                         [](const auto& each) { return std::string(each.param.key); });

}  // namespace
