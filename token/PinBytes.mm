#import "token/PinBytes.h"

#include <cstring>

namespace {

/// Through a volatile pointer: the compiler may not drop writes to memory that is freed next.
void Overwrite(std::vector<CK_UTF8CHAR> &bytes) {
  volatile CK_UTF8CHAR *byte = bytes.data();
  for (size_t i = 0; i < bytes.size(); ++i) byte[i] = 0;
}

}  // namespace

PinBytes::PinBytes(NSString *PIN) {
  if (PIN == nil) return;
  // The exact length is not asked for: finding it out encodes the PIN into memory of Foundation's.
  m_bytes.resize([PIN maximumLengthOfBytesUsingEncoding:NSUTF8StringEncoding] + 1);
  auto *text = reinterpret_cast<char *>(m_bytes.data());
  if ([PIN getCString:text maxLength:m_bytes.size() encoding:NSUTF8StringEncoding]) {
    m_length = std::strlen(text);
  } else {
    Overwrite(m_bytes);
    m_bytes.clear();
  }
}

PinBytes::~PinBytes() {
  Overwrite(m_bytes);
}
