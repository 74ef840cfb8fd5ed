/// The data types of the SSH protocols: RFC 4251, section 5.

#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ssh {

using Bytes = std::vector<uint8_t>;

/// What was received is not what its type says.
class Malformed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Big endian. `bytes` has at least four.
uint32_t Uint32At(const uint8_t* bytes);

class Writer {
 public:
  Writer& Byte(uint8_t value);
  Writer& Uint32(uint32_t value);
  Writer& String(const Bytes& value);
  Writer& String(const std::string& value);
  /// `magnitude` is an unsigned number, big endian, with any number of leading zeros.
  Writer& Mpint(const Bytes& magnitude);
  Bytes Take() { return std::move(m_bytes); }

 private:
  Bytes m_bytes;
};

/// Some bytes of others.
struct View {
  const uint8_t* bytes;
  size_t size;
};

/// Reads `bytes`, which outlive it, from their start. Each call throws Malformed when too few are left.
class Parser {
 public:
  explicit Parser(View bytes) : m_left(bytes) {}
  explicit Parser(const Bytes& bytes) : m_left{bytes.data(), bytes.size()} {}
  uint8_t Byte();
  uint32_t Uint32();
  Bytes String();
  /// The next string where it stands, without a copy.
  View StringInPlace();

 private:
  /// Where the next `size` bytes start, which are then behind the reader.
  const uint8_t* Next(size_t size);

  View m_left;
};

}  // namespace Ssh
