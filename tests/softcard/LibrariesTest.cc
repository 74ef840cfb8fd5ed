// Where the libraries that cards are made over answer differently through the soft card. docs/cards.md has the table.

#include <openssl/crypto.h>
#include <openssl/ec.h>

#include "softcard/program/Pem.h"
#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

class EitherLibrary : public SoftCardFixture, public ::testing::WithParamInterface<const char*> {
 protected:
  EitherLibrary() { m_over = GetParam(); }

  template <typename Answer>
  Answer Either(Answer softHsm, Answer softoken) const {
    return m_over == "nss" ? softoken : softHsm;
  }

  CK_RV Derive(CK_SESSION_HANDLE session, Attributes& wanted, CK_OBJECT_HANDLE& derived) {
    const KeyPointer peer(EVP_EC_gen("P-256"));
    unsigned char* point = nullptr;
    const auto length = EVP_PKEY_get1_encoded_public_key(peer.get(), &point);
    CK_ECDH1_DERIVE_PARAMS parameters{CKD_SHA1_KDF, 0, nullptr, length, point};
    CK_MECHANISM mechanism{CKM_ECDH1_DERIVE, &parameters, sizeof parameters};
    wanted.AddNumber(CKA_CLASS, CKO_SECRET_KEY).AddNumber(CKA_KEY_TYPE, CKK_GENERIC_SECRET);
    const auto result = Library()->C_DeriveKey(session, &mechanism, Find(session, CKO_PRIVATE_KEY), wanted.Data(),
                                               wanted.Count(), &derived);
    OPENSSL_free(point);
    return result;
  }
};

TEST_P(EitherLibrary, JudgesANullPinAtACardWithoutPinPad) {
  MakeAndInsert({"demo"});
  EXPECT_CKR(Either(CKR_ARGUMENTS_BAD, CKR_PIN_INCORRECT), Library()->C_Login(Open(), CKU_USER, nullptr, 0));
}

TEST_P(EitherLibrary, SaysWhetherThePinIsChangedWithoutALogin) {
  MakeAndInsert({"demo"});
  std::string pin = kPin;
  auto* const bytes = reinterpret_cast<CK_UTF8CHAR*>(pin.data());
  EXPECT_CKR(Either(CKR_OK, CKR_USER_NOT_LOGGED_IN), Library()->C_SetPIN(Open(), bytes, pin.size(), bytes, pin.size()));
}

TEST_P(EitherLibrary, RefusesTheSecurityOfficersWrongPin) {
  MakeAndInsert({"demo"});
  std::string pin = "12345678";
  EXPECT_CKR(Either(CKR_PIN_INCORRECT, CKR_USER_TYPE_INVALID),
             Library()->C_Login(Open(), CKU_SO, reinterpret_cast<CK_UTF8CHAR*>(pin.data()), pin.size()));
}

TEST_P(EitherLibrary, TakesPinsOfTheseLengths) {
  MakeAndInsert({"demo"});
  EXPECT_EQ(TokenInfo().ulMinPinLen, 4U);
  EXPECT_EQ(TokenInfo().ulMaxPinLen, Either(255U, 500U));
}

TEST_P(EitherLibrary, DecryptsAWronglyPaddedBlockToNothingOrToRandomBytes) {
  const auto session = OpenCardWith("rsa2048");
  CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};
  unsigned char block[256] = {0, 2};
  unsigned char plain[256];
  CK_ULONG length = sizeof plain;
  ASSERT_CKR(CKR_OK, Library()->C_DecryptInit(session, &mechanism, Find(session, CKO_PRIVATE_KEY)));
  // Beneath SoftHSM2 is OpenSSL, which answers with random bytes itself since version 3.2.
  const CK_RV overOpenSSL = OpenSSL_version_num() < 0x30200000UL ? CKR_GENERAL_ERROR : CKR_OK;
  EXPECT_CKR(Either(overOpenSSL, CK_RV{CKR_OK}), Library()->C_Decrypt(session, block, sizeof block, plain, &length));
}

TEST_P(EitherLibrary, DerivesNothingWithoutALength) {
  const auto session = OpenCardWith("p256");
  Attributes wanted;
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  // The soft card's own derivation asks for a length. That this is not its answer shows that softoken derives by
  // itself.
  ASSERT_CKR(Either(CKR_TEMPLATE_INCOMPLETE, CKR_OK), Derive(session, wanted, derived));
  if (derived == CK_INVALID_HANDLE) return;
  CK_ATTRIBUTE value{CKA_VALUE, nullptr, 0};
  ASSERT_CKR(CKR_OK, Library()->C_GetAttributeValue(session, derived, &value, 1));
  EXPECT_EQ(value.ulValueLen, 0U);
}

TEST_P(EitherLibrary, RefusesASecretLongerThanMemory) {
  const auto session = OpenCardWith("p256");
  Attributes wanted;
  wanted.AddNumber(CKA_VALUE_LEN, 1UL << 40);
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  EXPECT_CKR(Either(CKR_KEY_SIZE_RANGE, CKR_ARGUMENTS_BAD), Derive(session, wanted, derived));
}

INSTANTIATE_TEST_SUITE_P(Over, EitherLibrary, ::testing::Values("softhsm", "nss"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
