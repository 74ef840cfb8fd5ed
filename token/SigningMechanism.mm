#import "token/SigningMechanism.h"

namespace {

struct PssRow {
  const SecKeyAlgorithm &algorithm;
  CK_RSA_PKCS_PSS_PARAMS parameter;  // hash, mask generation, salt length: always the digest's
};

const PssRow kPssRows[] = {
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA256, {CKM_SHA256, CKG_MGF1_SHA256, 32}},
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA384, {CKM_SHA384, CKG_MGF1_SHA384, 48}},
    {kSecKeyAlgorithmRSASignatureDigestPSSSHA512, {CKM_SHA512, CKG_MGF1_SHA512, 64}},
};

}  // namespace

SigningMechanism::SigningMechanism(TKTokenKeyAlgorithm *algorithm) {
  if ([algorithm isAlgorithm:kSecKeyAlgorithmRSASignatureRaw]) {
    m_mechanism.mechanism = CKM_RSA_PKCS;
    return;
  }
  for (const PssRow &row : kPssRows) {
    if (![algorithm isAlgorithm:row.algorithm]) continue;
    m_pss = row.parameter;
    m_mechanism = {CKM_RSA_PKCS_PSS, &m_pss, sizeof m_pss};
    return;
  }
  m_mechanism.mechanism = CKM_ECDSA;
}
