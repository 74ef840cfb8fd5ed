#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace Wire {

/// The binary part of a message: one buffer that is never copied or moved in memory, and is wiped before it is freed.
/// A PIN is in no other place.
class Attachment {
 public:
  Attachment() = default;

  /// `size` zero bytes, to be filled in place.
  explicit Attachment(size_t size);

  /// A copy of `bytes`.
  Attachment(const void* bytes, size_t size);
  explicit Attachment(const std::vector<uint8_t>& bytes);

  Attachment(Attachment&& other) noexcept;
  Attachment& operator=(Attachment&& other) noexcept;
  ~Attachment();

  uint8_t* data() { return m_bytes.get(); }
  const uint8_t* data() const { return m_bytes.get(); }
  size_t size() const { return m_size; }
  bool empty() const { return m_size == 0; }

  /// Gives up the bytes after the first `size`, which are wiped. Does nothing when there are no more than that.
  void Shorten(size_t size);

  /// A copy that is not wiped: for results, never for a PIN.
  std::vector<uint8_t> Bytes() const;

 private:
  std::unique_ptr<uint8_t[]> m_bytes;
  size_t m_size = 0;
};

}  // namespace Wire
