#ifndef SOFTCARD_PKCS11_H
#define SOFTCARD_PKCS11_H

// The one place of this folder that names the header of the PKCS#11 standard, and small helpers over its types.

#include <p11-kit/pkcs11.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace SoftCard {

/// The text of a blank-padded field, without its padding.
template <size_t Size>
std::string Unpadded(const CK_UTF8CHAR (&field)[Size]) {
  const std::string text(reinterpret_cast<const char*>(field), Size);
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Fills a blank-padded field with `text`, cut to the field's size.
template <size_t Size>
void Pad(const std::string& text, CK_UTF8CHAR (&field)[Size]) {
  std::memset(field, ' ', Size);
  std::memcpy(field, text.data(), std::min(text.size(), Size));
}

}  // namespace SoftCard

#endif
