#include "softcard/library/DeriveKey.h"

#include <openssl/ec.h>
#include <openssl/sha.h>

#include "softcard/program/KeyObjects.h"
#include "tests/softcard/SoftCardFixture.h"

using namespace SoftCard;

namespace {

/// The derivation in the words of the standard: SHA-1 over the secret, a counter from 1, and the shared information.
Bytes Expected(const Bytes& z, const Bytes& sharedInfo, size_t size) {
  Bytes result;
  for (unsigned char counter = 1; result.size() < size; counter++) {
    Bytes block = z;
    block.insert(block.end(), {0, 0, 0, counter});
    block.insert(block.end(), sharedInfo.begin(), sharedInfo.end());
    unsigned char digest[SHA_DIGEST_LENGTH];
    SHA1(block.data(), block.size(), digest);
    result.insert(result.end(), digest, digest + sizeof digest);
  }
  result.resize(size);
  return result;
}

/// What OpenSSL alone agrees between `own` and the public half of `other`.
Bytes AgreedByOpenssl(EVP_PKEY* own, EVP_PKEY* other) {
  const std::unique_ptr<EVP_PKEY_CTX, OpensslFree<EVP_PKEY_CTX_free>> context(EVP_PKEY_CTX_new(own, nullptr));
  size_t length = 0;
  if (EVP_PKEY_derive_init(context.get()) != 1 || EVP_PKEY_derive_set_peer(context.get(), other) != 1 ||
      EVP_PKEY_derive(context.get(), nullptr, &length) != 1)
    FailInOpenssl("agreeing");
  Bytes z(length);
  if (EVP_PKEY_derive(context.get(), z.data(), &length) != 1) FailInOpenssl("agreeing");
  return z;
}

Bytes PointOf(EVP_PKEY* key) {
  unsigned char* point = nullptr;
  const auto length = EVP_PKEY_get1_encoded_public_key(key, &point);
  Bytes bytes(point, point + length);
  OPENSSL_free(point);
  return bytes;
}

struct Agreement {
  const char* type;
  const char* curve;
};

class SoftCardAgreement : public SoftCardFixture, public ::testing::WithParamInterface<Agreement> {
 protected:
  void SetUp() override {
    m_session = OpenCardWith(GetParam().type);
    m_key = Find(m_session, CKO_PRIVATE_KEY);
    m_peer.reset(EVP_EC_gen(GetParam().curve));
    m_point = PointOf(m_peer.get());
    m_raw = AgreedByOpenssl(m_peer.get(), CardKey().get());
  }

  /// The card's public key, from its certificate.
  KeyPointer CardKey() {
    Attributes user;
    user.AddNumber(CKA_CLASS, CKO_CERTIFICATE).AddNumber(CKA_CERTIFICATE_CATEGORY, 1);
    CK_OBJECT_HANDLE found = CK_INVALID_HANDLE;
    CK_ULONG count = 0;
    Require("C_FindObjectsInit", Library()->C_FindObjectsInit(m_session, user.Data(), user.Count()));
    Require("C_FindObjects", Library()->C_FindObjects(m_session, &found, 1, &count));
    Require("C_FindObjectsFinal", Library()->C_FindObjectsFinal(m_session));
    const auto der = ValueOf(found);
    const auto* in = der.data();
    const CertificatePointer certificate(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
    return KeyPointer(X509_get_pubkey(certificate.get()));
  }

  Bytes ValueOf(CK_OBJECT_HANDLE object) {
    CK_ATTRIBUTE value{CKA_VALUE, nullptr, 0};
    Require("C_GetAttributeValue", Library()->C_GetAttributeValue(m_session, object, &value, 1));
    Bytes bytes(value.ulValueLen);
    value.pValue = bytes.data();
    Require("C_GetAttributeValue", Library()->C_GetAttributeValue(m_session, object, &value, 1));
    return bytes;
  }

  /// C_DeriveKey with the extension's template: class, key type and, when `size` is not 0, the length.
  CK_RV Derive(CK_ULONG kdf, Bytes point, Bytes sharedInfo, CK_ULONG size, CK_OBJECT_HANDLE& derived) {
    Attributes wanted;
    wanted.AddNumber(CKA_CLASS, CKO_SECRET_KEY).AddNumber(CKA_KEY_TYPE, CKK_GENERIC_SECRET);
    if (size) wanted.AddNumber(CKA_VALUE_LEN, size);
    CK_ECDH1_DERIVE_PARAMS parameters{kdf, sharedInfo.size(), sharedInfo.data(), point.size(), point.data()};
    CK_MECHANISM mechanism{CKM_ECDH1_DERIVE, &parameters, sizeof parameters};
    return Library()->C_DeriveKey(m_session, &mechanism, m_key, wanted.Data(), wanted.Count(), &derived);
  }

  Bytes Coordinates() const { return Bytes(m_point.begin() + 1, m_point.end()); }

  CK_SESSION_HANDLE m_session = CK_INVALID_HANDLE;
  CK_OBJECT_HANDLE m_key = CK_INVALID_HANDLE;
  KeyPointer m_peer;
  Bytes m_point;
  Bytes m_raw;
};

TEST_P(SoftCardAgreement, GivesTheHashedSecretForEverySizeWithAndWithoutSharedInfo) {
  for (const CK_ULONG size : {1, 16, 20, 32, 64, 100})
    for (const Bytes& sharedInfo : {Bytes{}, Bytes(16, 0xA5), Bytes{1, 2, 3}}) {
      CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
      ASSERT_CKR(CKR_OK, Derive(CKD_SHA1_KDF, Coordinates(), sharedInfo, size, derived)) << size;
      EXPECT_EQ(ValueOf(derived), Expected(m_raw, sharedInfo, size)) << size << " with " << sharedInfo.size();
    }
}

TEST_P(SoftCardAgreement, TakesThePointWithItsFormatByteToo) {
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  ASSERT_CKR(CKR_OK, Derive(CKD_SHA1_KDF, m_point, {}, 32, derived));
  EXPECT_EQ(ValueOf(derived), Expected(m_raw, {}, 32));
}

TEST_P(SoftCardAgreement, GivesTheRawSecretWithoutADerivation) {
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  ASSERT_CKR(CKR_OK, Derive(CKD_NULL, Coordinates(), {}, 0, derived));
  EXPECT_EQ(ValueOf(derived), m_raw);
}

TEST_P(SoftCardAgreement, LeavesOneSessionObjectEachTime) {
  const auto secrets = [&] {
    Attributes wanted;
    wanted.AddNumber(CKA_CLASS, CKO_SECRET_KEY);
    CK_OBJECT_HANDLE found[20];
    CK_ULONG count = 0;
    Require("C_FindObjectsInit", Library()->C_FindObjectsInit(m_session, wanted.Data(), wanted.Count()));
    Require("C_FindObjects", Library()->C_FindObjects(m_session, found, 20, &count));
    Require("C_FindObjectsFinal", Library()->C_FindObjectsFinal(m_session));
    return count;
  };
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  for (CK_ULONG expected = 1; expected <= 3; expected++) {
    ASSERT_CKR(CKR_OK, Derive(CKD_SHA1_KDF, Coordinates(), {}, 32, derived));
    EXPECT_EQ(secrets(), expected);
  }
}

TEST_P(SoftCardAgreement, RefusesWhatItCannotDerive) {
  CK_OBJECT_HANDLE derived = CK_INVALID_HANDLE;
  EXPECT_NE(CKR_OK, Derive(CKD_SHA1_KDF, Bytes(m_point.size() - 1, 0x11), {}, 32, derived)) << "not on the curve";
  EXPECT_NE(CKR_OK, Derive(99, Coordinates(), {}, 32, derived)) << "an unknown derivation";
  ASSERT_CKR(CKR_OK, Library()->C_Logout(m_session));
  EXPECT_NE(CKR_OK, Derive(CKD_SHA1_KDF, Coordinates(), {}, 32, derived)) << "logged out";
}

INSTANTIATE_TEST_SUITE_P(Curves, SoftCardAgreement,
                         ::testing::Values(Agreement{"p256", "P-256"}, Agreement{"p384", "P-384"}),
                         [](const auto& each) { return std::string(each.param.type); });

}  // namespace
