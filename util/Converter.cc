#include "util/Converter.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace QELIconv {

namespace {

constexpr size_t kMaxBufferBytes = 1024 * 1024;

void Ignore(const char*, size_t) {}

}  // namespace

Converter::Converter(std::string from, std::string to, size_t inputBytes)
    : m_from(std::move(from)), m_to(std::move(to)), m_buffer(std::min(4 * inputBytes, kMaxBufferBytes)) {
  m_buffer.reserve(1);  // iconv insists on a place to write, for an empty input too
}

bool Converter::ConvertAll(Input input, const Sink& sink) {
  const ScopedIconv converter = Open(sink);
  const bool targetHasEveryCharacter = m_to.compare(0, 4, "UTF-") == 0;
  for (;;) {
    const Outcome outcome = Fill(converter, input, sink);
    if (outcome.error == 0) return !outcome.replaced;
    const bool full = outcome.error == E2BIG && outcome.written > 0;
    if (!full || !targetHasEveryCharacter) return false;
  }
}

bool Converter::ConvertSome(Input& input, const Sink& sink) {
  if (!m_writer) {
    m_ahead = Open(Ignore);
    m_writer = Open(sink);
  }
  char* const begin = input.position;
  bool convertible = true;
  while (convertible && input.count > 0) convertible = LookAhead(input);
  Input clean{begin, static_cast<size_t>(input.position - begin)};
  Exhaust(m_writer, clean, sink);
  return convertible;
}

Converter::ScopedIconv Converter::Open(const Sink& sink) {
  ScopedIconv converter(iconv_open(m_to.c_str(), m_from.c_str()));
  if (!converter) throw std::runtime_error("iconv_open" + Between());
  char* output = m_buffer.data();
  size_t room = m_buffer.size();
  iconv(converter.Get(), nullptr, nullptr, &output, &room);
  sink(m_buffer.data(), m_buffer.size() - room);
  return converter;
}

Converter::Outcome Converter::Fill(const ScopedIconv& converter, Input& input, const Sink& sink) {
  char* output = m_buffer.data();
  size_t room = m_buffer.size();
  const size_t result = iconv(converter.Get(), &input.position, &input.count, &output, &room);
  const int error = result == static_cast<size_t>(-1) ? errno : 0;
  const size_t written = m_buffer.size() - room;
  sink(m_buffer.data(), written);
  if (error != 0 && error != E2BIG && error != EILSEQ && error != EINVAL) throw BrokenOff(error);
  const bool asked = m_to.find("//") != std::string::npos;
  return {error, error == 0 && result > 0 && !asked, written};
}

Converter::Outcome Converter::Exhaust(const ScopedIconv& converter, Input& input, const Sink& sink) {
  for (;;) {
    const Outcome outcome = Fill(converter, input, sink);
    if (outcome.error != E2BIG) return outcome;
    if (outcome.written == 0 && !Grow()) throw BrokenOff(E2BIG);
  }
}

bool Converter::Grow() {
  const size_t size = std::min(2 * m_buffer.size(), kMaxBufferBytes);
  if (size == m_buffer.size()) return false;
  m_buffer.resize(size);
  return true;
}

bool Converter::LookAhead(Input& input) {
  for (size_t size = 1;; ++size) {
    Input character{input.position, size};
    const Outcome outcome = Exhaust(m_ahead, character, Ignore);
    if (outcome.replaced) return false;
    const size_t taken = size - character.count;
    if (taken > 0) {
      input = {input.position + taken, input.count - taken};
      return true;
    }
    const bool half = outcome.error == EINVAL;
    if (!half || size == input.count) return false;
  }
}

std::runtime_error Converter::BrokenOff(int error) const {
  return std::runtime_error("iconv" + Between() + " with errno " + std::to_string(error));
}

std::string Converter::Between() const {
  return " from encoding '" + m_from + "' to '" + m_to + "' failed";
}

}  // namespace QELIconv
