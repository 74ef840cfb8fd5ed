#include "host/keys/Conversions.h"

#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/x509.h>

#include <algorithm>
#include <memory>

#include "host/base/Failure.h"

namespace Host {
namespace {

using Wire::Bytes;

const EVP_MD* DigestNamed(const std::string& name) {
  const EVP_MD* digest = EVP_get_digestbyname(name.c_str());
  if (!digest) throw Failure(ExitStatus::NotSupported, "no digest " + name + "; choose another algorithm");
  return digest;
}

Bytes Hash(const std::string& name, const Bytes& message) {
  Bytes digest(EVP_MAX_MD_SIZE);
  unsigned int length = 0;
  if (EVP_Digest(message.data(), message.size(), digest.data(), &length, DigestNamed(name), nullptr) != 1)
    throw Failure(ExitStatus::Failed, "hashing with " + name + " failed");
  digest.resize(length);
  return digest;
}

/// DER of the digest with its algorithm, whose parameters are NULL.
Bytes DigestInfo(const std::string& name, const Bytes& digest) {
  const std::unique_ptr<X509_SIG, decltype(&X509_SIG_free)> info(X509_SIG_new(), X509_SIG_free);
  X509_ALGOR* algorithm = nullptr;
  ASN1_OCTET_STRING* value = nullptr;
  if (info) X509_SIG_getm(info.get(), &algorithm, &value);
  if (!info || !X509_ALGOR_set0(algorithm, OBJ_nid2obj(EVP_MD_get_type(DigestNamed(name))), V_ASN1_NULL, nullptr) ||
      !ASN1_OCTET_STRING_set(value, digest.data(), static_cast<int>(digest.size())))
    throw Failure(ExitStatus::Failed, "encoding the digest failed");
  unsigned char* encoded = nullptr;
  const int length = i2d_X509_SIG(info.get(), &encoded);
  if (length < 0) throw Failure(ExitStatus::Failed, "encoding the digest failed");
  Bytes result(encoded, encoded + length);
  OPENSSL_free(encoded);
  return result;
}

Bytes Apply(const Conversion& conversion, const Bytes& data, size_t blockLength) {
  switch (conversion.kind) {
    case Conversion::Kind::None:
      return data;
    case Conversion::Kind::Hash:
      return Hash(conversion.digest, data);
    case Conversion::Kind::WrapPkcs1:
      return PaddedBlock(DigestInfo(conversion.digest, data), blockLength);
    case Conversion::Kind::PadPkcs1:
      return PaddedBlock(data, blockLength);
    default:
      break;
  }
  throw Failure(ExitStatus::NotSupported, "the token wants data in a form that this host does not make");
}

}  // namespace

Bytes PaddedBlock(const Bytes& payload, size_t blockLength) {
  constexpr size_t kShortestPadding = 11;
  if (payload.size() + kShortestPadding > blockLength)
    throw Failure(ExitStatus::NotSupported,
                  "the data is too long for the key; choose a shorter digest or a longer key");
  Bytes block(blockLength, 0xFF);
  const size_t start = blockLength - payload.size();
  block[0] = 0x00;
  block[1] = 0x01;
  block[start - 1] = 0x00;
  std::copy(payload.begin(), payload.end(), block.begin() + static_cast<std::ptrdiff_t>(start));
  return block;
}

Bytes Convert(const std::vector<Conversion>& conversions, Bytes data, size_t blockLength) {
  for (const Conversion& conversion : conversions) data = Apply(conversion, data, blockLength);
  return data;
}

}  // namespace Host
