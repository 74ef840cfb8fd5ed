#import "token/KeyDerivation.h"

namespace {

std::vector<CK_BYTE> Bytes(NSData *data) {
  const auto *bytes = static_cast<const CK_BYTE *>([data bytes]);
  return {bytes, bytes + [data length]};
}

}  // namespace

KeyDerivation::KeyDerivation(TKTokenKeyAlgorithm *algorithm, NSData *publicKey, NSData *sharedInfo)
    : m_publicKey(Bytes(publicKey)) {
  m_parameter.kdf = CKD_NULL;
  if ([algorithm isAlgorithm:kSecKeyAlgorithmECDHKeyExchangeStandardX963SHA1]) {
    m_parameter.kdf = CKD_SHA1_KDF;
    m_sharedInfo = Bytes(sharedInfo);
    m_parameter.ulSharedDataLen = m_sharedInfo.size();
    m_parameter.pSharedData = m_sharedInfo.data();
  }
  if (!m_publicKey.empty()) {
    m_parameter.ulPublicDataLen = m_publicKey.size() - 1;
    m_parameter.pPublicData = m_publicKey.data() + 1;
  }
  m_mechanism = {CKM_ECDH1_DERIVE, &m_parameter, sizeof m_parameter};
}
