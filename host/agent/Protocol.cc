#include "host/agent/Protocol.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace Ssh {
namespace {

enum Type : uint8_t {
  Failure = 5,
  Success = 6,
  RequestIdentities = 11,
  IdentitiesAnswer = 12,
  SignRequest = 13,
  SignResponse = 14,
  LockRequest = 22,
  UnlockRequest = 23,
};

constexpr int kDigestLength = 32;
constexpr int kRounds = 100000;  // some tens of milliseconds for each guess

Bytes Only(Type type) {
  return Writer().Byte(type).Take();
}

}  // namespace

Bytes Lock::Digest(View passphrase) const {
  Bytes digest(kDigestLength);
  const auto* text = reinterpret_cast<const char*>(passphrase.bytes);
  if (PKCS5_PBKDF2_HMAC(text ? text : "", static_cast<int>(passphrase.size), m_salt.data(),
                        static_cast<int>(m_salt.size()), kRounds, EVP_sha256(), kDigestLength, digest.data()) != 1)
    return {};
  return digest;
}

bool Lock::Close(View passphrase) {
  if (m_locked) return false;
  m_salt.resize(kDigestLength);
  if (RAND_bytes(m_salt.data(), kDigestLength) != 1) return false;
  m_digest = Digest(passphrase);
  m_locked = !m_digest.empty();
  return m_locked;
}

bool Lock::Open(View passphrase) {
  if (!m_locked) return false;
  const Bytes digest = Digest(passphrase);
  if (digest.size() != m_digest.size() || CRYPTO_memcmp(digest.data(), m_digest.data(), digest.size()) != 0)
    return false;
  m_locked = false;
  return true;
}

Bytes Agent::Answer(View message) {
  try {
    Parser request(message);
    const uint8_t type = request.Byte();
    return Dispatch(type, request);
  } catch (const Malformed&) {
    return Only(Failure);
  }
}

Bytes Agent::Dispatch(uint8_t type, Parser& request) {
  switch (type) {
    case RequestIdentities:
      return ListIdentities();
    case SignRequest:
      return Sign(request);
    case LockRequest:
      return Only(m_lock.Close(request.StringInPlace()) ? Success : Failure);
    case UnlockRequest:
      return Only(m_lock.Open(request.StringInPlace()) ? Success : Failure);
    default:
      return Only(Failure);
  }
}

Bytes Agent::ListIdentities() {
  const std::vector<Identity> identities = m_lock.IsLocked() ? std::vector<Identity>() : m_keyring.Identities();
  Writer answer;
  answer.Byte(IdentitiesAnswer).Uint32(static_cast<uint32_t>(identities.size()));
  for (const Identity& identity : identities) answer.String(identity.blob).String(identity.comment);
  return answer.Take();
}

Bytes Agent::Sign(Parser& request) {
  const Bytes blob = request.String();
  const Bytes data = request.String();
  const uint32_t flags = request.Uint32();
  const auto signature = m_lock.IsLocked() ? std::nullopt : m_keyring.Sign(blob, data, flags);
  return signature ? Writer().Byte(SignResponse).String(*signature).Take() : Only(Failure);
}

}  // namespace Ssh
