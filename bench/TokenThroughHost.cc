#include "bench/TokenThroughHost.h"

#include <chrono>
#include <cstring>
#include <stdexcept>

#include "bench/BenchCard.h"
#include "platform/wire/Hex.h"

namespace {

template <class T>
T Required(const char* what, Wire::Answer<T> answer) {
  if (answer) return *std::move(answer.value);
  throw std::runtime_error(std::string(what) + ": " + Host::OutcomeOf(answer));
}

}  // namespace

TokenThroughHost::TokenThroughHost(const std::string& reader)
    : m_process(QEL_BENCH_EXTENSION, std::chrono::seconds(60)),
      m_token(Required("createToken", m_process.Ask("createToken", [&](Wire::Client& client) {
        return client.CreateToken(reader);
      }))) {}

void TokenThroughHost::LogIn() {
  m_session =
      Required("createSession",
               m_process.Ask("createSession", [&](Wire::Client& client) { return client.CreateSession(m_token.id); }));
  const auto authentication = Required("beginAuth", m_process.Ask("beginAuth", [&](Wire::Client& client) {
    return client.BeginAuth(m_session, Wire::Operation::SignData, "PIN");
  }));
  Required("finishAuth", m_process.Ask("finishAuth", [&](Wire::Client& client) {
    return client.FinishAuth(authentication.id, Wire::Attachment(BenchCard::kPin, std::strlen(BenchCard::kPin)));
  }));
}

TokenThroughHost::Request TokenThroughHost::RequestFor(const SigningKey& key) {
  Bare::ByteString identifier = {0x12};  // a key in the first slot
  identifier.insert(identifier.end(), key.id.begin(), key.id.end());
  // As the platform's walk from the algorithm of the application to the one of the card leaves them.
  static const Wire::Algorithms rsa = {"algid:sign:RSA:message-PKCS1v15:SHA256",
                                       "algid:sign:RSA:digest-PKCS1v15:SHA256", "algid:sign:RSA:digest-PKCS1v15",
                                       "algid:sign:RSA:raw-cc", "algid:sign:RSA:raw"};
  static const Wire::Algorithms ecdsa = {"algid:sign:ECDSA:message-X962:SHA256", "algid:sign:ECDSA:digest-X962:SHA256",
                                         "algid:sign:ECDSA:digest-X962"};
  return {Wire::ToHex(identifier.data(), identifier.size()), key.IsRsa() ? rsa : ecdsa, key.PlatformInput()};
}

void TokenThroughHost::Sign(const Request& request) {
  Required("signData", m_process.Ask("signData", [&](Wire::Client& client) {
    return client.SignData(m_session, request.key, request.algorithms, request.data);
  }));
}
