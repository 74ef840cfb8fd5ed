#include "host/module/Mechanisms.h"

#include <openssl/bn.h>
#include <openssl/ecdsa.h>

#include <algorithm>
#include <iterator>
#include <memory>

namespace Host {
namespace {

struct Row {
  CK_MECHANISM_TYPE mechanism;
  CK_MECHANISM_INFO info;
};

constexpr Row kRows[] = {
    {CKM_RSA_PKCS, {1024, 16384, CKF_HW | CKF_SIGN | CKF_DECRYPT}},
    {CKM_RSA_PKCS_PSS, {1024, 16384, CKF_HW | CKF_SIGN}},
    {CKM_ECDSA, {192, 521, CKF_HW | CKF_SIGN | CKF_EC_F_P | CKF_EC_NAMEDCURVE | CKF_EC_UNCOMPRESS}},
};

struct PssRow {
  CK_RSA_PKCS_PSS_PARAMS parameters;
  const char* algorithm;
};

constexpr PssRow kPssRows[] = {
    {{CKM_SHA256, CKG_MGF1_SHA256, 32}, "algid:sign:RSA:digest-PSS:SHA256:SHA256:32"},
    {{CKM_SHA384, CKG_MGF1_SHA384, 48}, "algid:sign:RSA:digest-PSS:SHA384:SHA384:48"},
    {{CKM_SHA512, CKG_MGF1_SHA512, 64}, "algid:sign:RSA:digest-PSS:SHA512:SHA512:64"},
};

std::optional<std::string> PssAlgorithm(const CK_MECHANISM& mechanism) {
  if (!mechanism.pParameter || mechanism.ulParameterLen != sizeof(CK_RSA_PKCS_PSS_PARAMS)) return std::nullopt;
  const auto& wanted = *static_cast<const CK_RSA_PKCS_PSS_PARAMS*>(mechanism.pParameter);
  for (const PssRow& row : kPssRows)
    if (wanted.hashAlg == row.parameters.hashAlg && wanted.mgf == row.parameters.mgf &&
        wanted.sLen == row.parameters.sLen)
      return row.algorithm;
  return std::nullopt;
}

}  // namespace

std::vector<CK_MECHANISM_TYPE> ModuleMechanisms() {
  std::vector<CK_MECHANISM_TYPE> mechanisms;
  std::transform(std::begin(kRows), std::end(kRows), std::back_inserter(mechanisms),
                 [](const Row& row) { return row.mechanism; });
  return mechanisms;
}

std::optional<CK_MECHANISM_INFO> ModuleMechanismInfo(CK_MECHANISM_TYPE mechanism) {
  for (const Row& row : kRows)
    if (row.mechanism == mechanism) return row.info;
  return std::nullopt;
}

std::optional<std::string> SignatureAlgorithmOf(const CK_MECHANISM& mechanism) {
  switch (mechanism.mechanism) {
    case CKM_RSA_PKCS:
      return "algid:sign:RSA:digest-PKCS1v15";
    case CKM_RSA_PKCS_PSS:
      return PssAlgorithm(mechanism);
    case CKM_ECDSA:
      return "algid:sign:ECDSA:digest-X962";
    default:
      return std::nullopt;
  }
}

std::optional<Wire::Bytes> ModuleSignature(CK_MECHANISM_TYPE mechanism, const Wire::Bytes& signature, size_t length) {
  if (mechanism != CKM_ECDSA) return signature.size() == length ? std::optional(signature) : std::nullopt;
  const uint8_t* at = signature.data();
  const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> numbers(
      d2i_ECDSA_SIG(nullptr, &at, static_cast<long>(signature.size())), ECDSA_SIG_free);
  Wire::Bytes raw(length);
  const int half = static_cast<int>(length / 2);
  if (!numbers || BN_bn2binpad(ECDSA_SIG_get0_r(numbers.get()), raw.data(), half) != half ||
      BN_bn2binpad(ECDSA_SIG_get0_s(numbers.get()), raw.data() + half, half) != half)
    return std::nullopt;
  return raw;
}

}  // namespace Host
