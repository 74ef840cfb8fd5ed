#include "platform/src/Security/X509Certificate.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace {

template <auto Free>
struct FreeWith {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};

std::optional<std::string> Utf8(const ASN1_STRING* string) {
  unsigned char* bytes = nullptr;
  const int length = ASN1_STRING_to_UTF8(&bytes, string);
  if (length < 0) {
    return std::nullopt;
  }
  std::string text(reinterpret_cast<char*>(bytes), static_cast<size_t>(length));
  OPENSSL_free(bytes);
  return text;
}

int RankOf(int attribute) {
  switch (attribute) {
    case NID_commonName:
      return 4;
    case NID_organizationalUnitName:
      return 3;
    case NID_organizationName:
      return 2;
    default:
      return 1;
  }
}

std::optional<std::string> SummaryOfSubject(const X509_NAME* subject) {
  int bestRank = 0;
  std::optional<std::string> best;
  std::optional<std::string> description;
  for (int i = 0; i < X509_NAME_entry_count(subject); ++i) {
    const X509_NAME_ENTRY* entry = X509_NAME_get_entry(subject, i);
    const int attribute = OBJ_obj2nid(X509_NAME_ENTRY_get_object(entry));
    const std::optional<std::string> value = Utf8(X509_NAME_ENTRY_get_data(entry));
    if (!value) {
      continue;
    }
    if (attribute == NID_description) {
      description = value;
    }
    const int rank = RankOf(attribute);
    if (rank > bestRank) {
      bestRank = rank;
      best = value;
    } else if (rank == bestRank) {
      best = *value + ", " + *best;
    }
  }
  if (description && bestRank == RankOf(NID_commonName)) {
    return *best + " (" + *description + ")";
  }
  return best;
}

std::optional<std::string> FirstAlternativeName(const X509* certificate, int type) {
  const std::unique_ptr<GENERAL_NAMES, FreeWith<GENERAL_NAMES_free>> names(
      static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr)));
  for (int i = 0; names && i < sk_GENERAL_NAME_num(names.get()); ++i) {
    const GENERAL_NAME* name = sk_GENERAL_NAME_value(names.get(), i);
    if (name->type == type) {
      return Utf8(static_cast<const ASN1_STRING*>(GENERAL_NAME_get0_value(name, nullptr)));
    }
  }
  return std::nullopt;
}

std::optional<std::string> SubjectSummary(const X509* certificate) {
  if (auto summary = SummaryOfSubject(X509_get_subject_name(certificate))) {
    return summary;
  }
  if (auto mail = FirstAlternativeName(certificate, GEN_EMAIL)) {
    return mail;
  }
  return FirstAlternativeName(certificate, GEN_DNS);
}

std::vector<uint8_t> RsaPublicKey(const EVP_PKEY* key) {
  unsigned char* bytes = nullptr;
  const int length = i2d_PublicKey(key, &bytes);
  if (length < 0) {
    return {};
  }
  std::vector<uint8_t> encoded(bytes, bytes + length);
  OPENSSL_free(bytes);
  return encoded;
}

std::vector<uint8_t> UncompressedPoint(const EVP_PKEY* key, size_t fieldBytes) {
  std::vector<uint8_t> point(1 + 2 * fieldBytes);
  point.front() = 0x04;
  uint8_t* coordinate = point.data() + 1;
  for (const char* name : {OSSL_PKEY_PARAM_EC_PUB_X, OSSL_PKEY_PARAM_EC_PUB_Y}) {
    BIGNUM* value = nullptr;
    const bool known = EVP_PKEY_get_bn_param(key, name, &value) == 1;
    const bool stored = known && BN_bn2binpad(value, coordinate, static_cast<int>(fieldBytes)) >= 0;
    BN_free(value);
    if (!stored) {
      return {};
    }
    coordinate += fieldBytes;
  }
  return point;
}

/// The number of bits of the field of one of the four curves that the framework takes; 0 for every other curve, also
/// for one that is not named.
long FieldBits(const EVP_PKEY* key) {
  char curve[32] = "";
  if (EVP_PKEY_get_group_name(key, curve, sizeof curve, nullptr) != 1) {
    return 0;
  }
  switch (OBJ_sn2nid(curve)) {
    case NID_X9_62_prime192v1:
      return 192;
    case NID_X9_62_prime256v1:
      return 256;
    case NID_secp384r1:
      return 384;
    case NID_secp521r1:
      return 521;
    default:
      return 0;
  }
}

void ReadKey(const EVP_PKEY* key, X509Certificate& facts) {
  const int type = key ? EVP_PKEY_get_base_id(key) : EVP_PKEY_NONE;
  if (type == EVP_PKEY_RSA) {
    facts.keySizeInBits = EVP_PKEY_get_bits(key);
    facts.publicKey = RsaPublicKey(key);
  } else if (type == EVP_PKEY_EC) {
    facts.keySizeInBits = FieldBits(key);
    if (facts.keySizeInBits > 0) {
      facts.publicKey = UncompressedPoint(key, static_cast<size_t>(facts.keySizeInBits + 7) / 8);
    }
  }
  if (facts.publicKey.empty()) {
    return;
  }
  facts.keyType = type == EVP_PKEY_RSA ? X509Certificate::KeyType::RSA : X509Certificate::KeyType::EC;
  facts.publicKeyHash.resize(SHA_DIGEST_LENGTH);
  SHA1(facts.publicKey.data(), facts.publicKey.size(), facts.publicKeyHash.data());
}

std::optional<int64_t> SecondsSince1970(const ASN1_TIME* time) {
  constexpr int64_t kSecondsPerDay = 24 * 60 * 60;
  const std::unique_ptr<ASN1_TIME, FreeWith<ASN1_TIME_free>> epoch(ASN1_TIME_set(nullptr, 0));
  int days = 0;
  int seconds = 0;
  if (!epoch || ASN1_TIME_diff(&days, &seconds, epoch.get(), time) != 1) {
    return std::nullopt;
  }
  return days * kSecondsPerDay + seconds;
}

}  // namespace

std::optional<X509Certificate> ParseX509(const uint8_t* der, size_t length) {
  const uint8_t* end = der;
  const std::unique_ptr<X509, FreeWith<X509_free>> certificate(d2i_X509(nullptr, &end, static_cast<long>(length)));
  if (!certificate || end != der + length) {
    ERR_clear_error();
    return std::nullopt;
  }
  X509Certificate facts;
  facts.subjectSummary = SubjectSummary(certificate.get());
  facts.notBefore = SecondsSince1970(X509_get0_notBefore(certificate.get()));
  facts.notAfter = SecondsSince1970(X509_get0_notAfter(certificate.get()));
  ReadKey(X509_get0_pubkey(certificate.get()), facts);
  ERR_clear_error();
  return facts;
}
