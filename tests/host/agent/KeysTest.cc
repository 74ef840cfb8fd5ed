#include "host/agent/Keys.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <memory>

namespace {

using Ssh::Bytes;
using Ssh::KeyType;

using ScopedKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

ScopedKey MakeKey(const char* curve) {
  return {curve ? EVP_EC_gen(curve) : EVP_RSA_gen(2048), EVP_PKEY_free};
}

Bytes CertificateOf(const ScopedKey& key) {
  const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), X509_free);
  X509_set_pubkey(certificate.get(), key.get());
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  uint8_t* der = nullptr;
  const int length = i2d_X509(certificate.get(), &der);
  const Bytes bytes(der, der + length);
  OPENSSL_free(der);
  return bytes;
}

std::string Text(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

TEST(Keys, AnRsaKeyIsItsNameExponentAndModulus) {
  const auto certified = Ssh::KeyOfCertificate(CertificateOf(MakeKey(nullptr)));
  ASSERT_TRUE(certified);
  EXPECT_EQ(certified->key.type, KeyType::Rsa);
  EXPECT_EQ(certified->hash.size(), 20u);
  Ssh::Parser blob(certified->key.blob);
  EXPECT_EQ(Text(blob.String()), "ssh-rsa");
  EXPECT_EQ(blob.String(), (Bytes{1, 0, 1}));
  EXPECT_EQ(blob.String().size(), 257u);  // its first bit is set
}

struct CurveRow {
  const char* group;
  KeyType type;
  const char* name;
  size_t pointLength;
};

class Curves : public ::testing::TestWithParam<CurveRow> {};

TEST_P(Curves, AKeyIsItsNameCurveAndUncompressedPoint) {
  const auto certified = Ssh::KeyOfCertificate(CertificateOf(MakeKey(GetParam().group)));
  ASSERT_TRUE(certified);
  EXPECT_EQ(certified->key.type, GetParam().type);
  Ssh::Parser blob(certified->key.blob);
  EXPECT_EQ(Text(blob.String()), std::string("ecdsa-sha2-") + GetParam().name);
  EXPECT_EQ(Text(blob.String()), GetParam().name);
  EXPECT_EQ(blob.String().size(), GetParam().pointLength);
}

INSTANTIATE_TEST_SUITE_P(Keys, Curves,
                         ::testing::Values(CurveRow{"P-256", KeyType::EcdsaP256, "nistp256", 65},
                                           CurveRow{"P-384", KeyType::EcdsaP384, "nistp384", 97}));

TEST(Keys, OtherCurvesAndWhatIsNoCertificateGiveNoKey) {
  EXPECT_FALSE(Ssh::KeyOfCertificate(CertificateOf(MakeKey("P-521"))));
  EXPECT_FALSE(Ssh::KeyOfCertificate({}));
  EXPECT_FALSE(Ssh::KeyOfCertificate({0x30, 0x82}));
}

TEST(Keys, AnRsaKeySignsByTheFlagsAndNeverWithSha1) {
  EXPECT_FALSE(Ssh::MethodFor(KeyType::Rsa, 0));
  EXPECT_FALSE(Ssh::MethodFor(KeyType::Rsa, 1));
  EXPECT_EQ(Ssh::MethodFor(KeyType::Rsa, 2)->name, "rsa-sha2-256");
  EXPECT_EQ(Ssh::MethodFor(KeyType::Rsa, 2)->algorithm, "rsa-pkcs1-sha256");
  EXPECT_EQ(Ssh::MethodFor(KeyType::Rsa, 4)->name, "rsa-sha2-512");
  EXPECT_EQ(Ssh::MethodFor(KeyType::Rsa, 4)->algorithm, "rsa-pkcs1-sha512");
}

TEST(Keys, AnEllipticCurveFixesItsDigest) {
  EXPECT_EQ(Ssh::MethodFor(KeyType::EcdsaP256, 0)->algorithm, "ecdsa-sha256");
  EXPECT_EQ(Ssh::MethodFor(KeyType::EcdsaP384, 0)->algorithm, "ecdsa-sha384");
}

TEST(Keys, AnEcdsaSignatureIsTwoNumbersInAString) {
  const Ssh::SignatureMethod method{"name", ""};
  const Bytes der = {0x30, 0x07, 0x02, 0x02, 0x00, 0x80, 0x02, 0x01, 0x05};
  EXPECT_EQ(Ssh::EncodeSignature(KeyType::EcdsaP256, method, der),
            Ssh::Writer().String("name").String(Bytes{0, 0, 0, 2, 0, 0x80, 0, 0, 0, 1, 5}).Take());
  EXPECT_THROW(Ssh::EncodeSignature(KeyType::EcdsaP256, method, {1, 2, 3}), Ssh::Malformed);
}

}  // namespace
