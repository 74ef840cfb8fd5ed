#include "bench/SigningKeys.h"

namespace {

Bare::ByteString DigestInfo() {
  Bare::ByteString info = {0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                           0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
  const Bare::ByteString digest = Digest(32);
  info.insert(info.end(), digest.begin(), digest.end());
  return info;
}

Bare::ByteString Padded(const Bare::ByteString& payload, size_t length) {
  Bare::ByteString block(length - payload.size(), 0xFF);
  block[0] = 0x00;
  block[1] = 0x01;
  block.back() = 0x00;
  block.insert(block.end(), payload.begin(), payload.end());
  return block;
}

}  // namespace

Bare::ByteString Digest(size_t bytes) {
  return Bare::ByteString(bytes, 0xD1);
}

Bare::ByteString SigningKey::CardInput() const {
  return IsRsa() ? DigestInfo() : Digest(digestBytes);
}

Bare::ByteString SigningKey::PlatformInput() const {
  return IsRsa() ? Padded(DigestInfo(), modulusBytes) : Digest(digestBytes);
}

const std::vector<SigningKey>& MainKeys() {
  static const std::vector<SigningKey> keys = {{"RSA-2048", {1}, CKM_RSA_PKCS, 256, 32},
                                               {"RSA-3072", {2}, CKM_RSA_PKCS, 384, 32},
                                               {"P-256", {3}, CKM_ECDSA, 0, 32},
                                               {"P-384", {4}, CKM_ECDSA, 0, 48}};
  return keys;
}

const std::vector<SigningKey>& SmallKeys() {
  static const std::vector<SigningKey> keys = {{"RSA-2048", {1}, CKM_RSA_PKCS, 256, 32},
                                               {"P-256", {2}, CKM_ECDSA, 0, 32}};
  return keys;
}
