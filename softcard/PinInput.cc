#include "softcard/PinInput.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <fstream>
#include <iostream>
#include <stdexcept>

namespace SoftCard {

namespace {

constexpr int kLongestPin = 255;

std::string AskOnTerminal(const char* prompt, bool repeat) {
  char typed[kLongestPin + 1] = "";
  if (EVP_read_pw_string(typed, sizeof typed, prompt, repeat ? 1 : 0) != 0)
    throw std::runtime_error("no PIN was typed; give one with --pin-file FILE, or - for standard input");
  std::string pin = typed;
  OPENSSL_cleanse(typed, sizeof typed);
  return pin;
}

}  // namespace

Pin::Pin(const std::string& file, const char* prompt, bool repeat) {
  if (file.empty()) {
    m_text = AskOnTerminal(prompt, repeat);
  } else if (file == "-") {
    std::getline(std::cin, m_text);
  } else {
    std::ifstream in(file);
    if (!std::getline(in, m_text)) throw std::runtime_error(file + ": holds no PIN");
  }
  if (!m_text.empty() && m_text.back() == '\r') m_text.pop_back();
  if (m_text.empty() || m_text.size() > kLongestPin) throw std::runtime_error("a PIN has 1 to 255 bytes");
}

Pin::~Pin() {
  OPENSSL_cleanse(m_text.data(), m_text.size());
}

}  // namespace SoftCard
