#include "host/agent/Encoding.h"

#include <algorithm>

namespace Ssh {

uint32_t Uint32At(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

Writer& Writer::Byte(uint8_t value) {
  m_bytes.push_back(value);
  return *this;
}

Writer& Writer::Uint32(uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) m_bytes.push_back(static_cast<uint8_t>(value >> shift));
  return *this;
}

Writer& Writer::String(const Bytes& value) {
  Uint32(static_cast<uint32_t>(value.size()));
  m_bytes.insert(m_bytes.end(), value.begin(), value.end());
  return *this;
}

Writer& Writer::String(const std::string& value) {
  return String(Bytes(value.begin(), value.end()));
}

Writer& Writer::Mpint(const Bytes& magnitude) {
  Bytes number(std::find_if(magnitude.begin(), magnitude.end(), [](uint8_t byte) { return byte != 0; }),
               magnitude.end());
  if (!number.empty() && (number.front() & 0x80) != 0) number.insert(number.begin(), 0);  // it is not negative
  return String(number);
}

const uint8_t* Parser::Next(size_t size) {
  if (m_left.size < size) throw Malformed("too short");
  const uint8_t* start = m_left.bytes;
  m_left = {start + size, m_left.size - size};
  return start;
}

uint8_t Parser::Byte() {
  return *Next(1);
}

uint32_t Parser::Uint32() {
  return Uint32At(Next(4));
}

View Parser::StringInPlace() {
  const size_t size = Uint32();
  return {Next(size), size};
}

Bytes Parser::String() {
  const View string = StringInPlace();
  return {string.bytes, string.bytes + string.size};
}

}  // namespace Ssh
