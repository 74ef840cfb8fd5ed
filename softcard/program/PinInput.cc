#include "softcard/program/PinInput.h"

#include <openssl/crypto.h>

#include <stdexcept>

#include "host/terminal/PinSource.h"

namespace SoftCard {

namespace {

constexpr size_t kLongestPin = 255;

void RequireSame(const Wire::Attachment& pin, const Wire::Attachment& repeated) {
  if (pin.size() != repeated.size() || CRYPTO_memcmp(pin.data(), repeated.data(), pin.size()) != 0)
    throw std::runtime_error("the two PINs are not the same; run the command again");
}

}  // namespace

Pin::Pin(const std::string& file, const char* prompt, bool repeat) {
  const Wire::Attachment pin = Host::PinSource(file).Read(prompt);
  if (file.empty() && repeat) RequireSame(pin, Host::AskOnTerminal(std::string("The same again: ") + prompt));
  if (pin.size() > kLongestPin) throw std::runtime_error("a PIN has 1 to 255 bytes");
  m_text.assign(reinterpret_cast<const char*>(pin.data()), pin.size());
}

Pin::~Pin() {
  OPENSSL_cleanse(m_text.data(), m_text.size());
}

}  // namespace SoftCard
