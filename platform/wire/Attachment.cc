#include "platform/wire/Attachment.h"

#include <openssl/crypto.h>

#include <cstring>
#include <utility>

namespace Wire {

Attachment::Attachment(size_t size) : m_bytes(new uint8_t[size]()), m_size(size) {}

Attachment::Attachment(const void* bytes, size_t size) : Attachment(size) {
  if (size > 0) {
    std::memcpy(m_bytes.get(), bytes, size);
  }
}

Attachment::Attachment(const std::vector<uint8_t>& bytes) : Attachment(bytes.data(), bytes.size()) {}

Attachment::Attachment(Attachment&& other) noexcept
    : m_bytes(std::move(other.m_bytes)), m_size(std::exchange(other.m_size, 0)) {}

Attachment& Attachment::operator=(Attachment&& other) noexcept {
  std::swap(m_bytes, other.m_bytes);
  std::swap(m_size, other.m_size);
  return *this;
}

Attachment::~Attachment() {
  Shorten(0);
}

void Attachment::Shorten(size_t size) {
  if (size < m_size) {
    OPENSSL_cleanse(m_bytes.get() + size, m_size - size);
    m_size = size;
  }
}

std::vector<uint8_t> Attachment::Bytes() const {
  return {data(), data() + size()};
}

}  // namespace Wire
