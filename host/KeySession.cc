#include <algorithm>

#include "host/AlgorithmWalk.h"
#include "host/Conversions.h"
#include "host/Readers.h"
#include "host/TokenService.h"

namespace Host {
namespace {

using Wire::Bytes;

// As often as the platform's client asks before it gives up.
constexpr int kRounds = 20;
constexpr char kLogin[] = "login";

const char* NameOf(Wire::Operation operation) {
  switch (operation) {
    case Wire::Operation::SignData:
      return "signing";
    case Wire::Operation::DecryptData:
      return "decryption";
    case Wire::Operation::PerformKeyExchange:
      return "key agreement";
    default:
      return "reading";
  }
}

std::string Listed(const Wire::Algorithms& algorithms) {
  std::string text;
  for (const std::string& algorithm : algorithms) text += (text.empty() ? "" : ", ") + algorithm;
  return "[" + text + "]";
}

size_t BlockLength(const Wire::Item& key) {
  return static_cast<size_t>(key.keySizeInBits + 7) / 8;
}

}  // namespace

KeySession::KeySession(const CardToken& token, const PinSource& pins) : m_token(token), m_pins(pins) {
  const auto answer = m_token.Process().Ask({"createSession", "opening the card"},
                                            [&](Wire::Client& client) { return client.CreateSession(m_token.ID()); });
  if (!answer)
    throw Failure(ExitStatus::Failed, "the card gave no session (" + Describe(answer.error) + "); insert it again");
  m_session = *answer;
}

Wire::Algorithms KeySession::Walk(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm,
                                  Bytes* data) {
  const auto supports = [&](const Candidate& candidate) {
    const auto answer = m_token.Process().Ask(
        {"supportsOperation " + Listed(candidate.algorithms), NameOf(operation)}, [&](auto& client) {
          return client.SupportsOperation(m_session, candidate.operation, key.objectID, candidate.algorithms);
        });
    return answer && *answer;
  };
  const auto found = FindSupported(operation, algorithm, supports);
  if (!found)
    throw Failure(ExitStatus::NotSupported, std::string(NameOf(operation)) + " with " + algorithm +
                                                " is not supported by key " + key.objectID +
                                                "; 'ctkhost list' shows what it can do");
  *data = Convert(found->conversions, std::move(*data), BlockLength(key));
  return found->algorithms;
}

Bytes KeySession::Sign(const Wire::Item& key, const std::string& algorithm, const Bytes& message) {
  Bytes data = message;
  const auto algorithms = Walk(Wire::Operation::SignData, key, algorithm, &data);
  return Perform(Wire::Operation::SignData, "signData", key,
                 [&](Wire::Client& client) { return client.SignData(m_session, key.objectID, algorithms, data); });
}

Bytes KeySession::Decrypt(const Wire::Item& key, const Bytes& ciphertext) {
  Bytes data = ciphertext;
  const auto algorithms = Walk(Wire::Operation::DecryptData, key, "algid:encrypt:RSA:PKCS1", &data);
  return Perform(Wire::Operation::DecryptData, "decryptData", key,
                 [&](Wire::Client& client) { return client.DecryptData(m_session, key.objectID, algorithms, data); });
}

Bytes KeySession::Agree(const Wire::Item& key, const Bytes& peer, int64_t size,
                        const std::optional<Bytes>& sharedInfo) {
  Bytes data = peer;
  const auto algorithms = Walk(Wire::Operation::PerformKeyExchange, key, "algid:keyexchange:ECDH:KDFX963:SHA1", &data);
  return Perform(Wire::Operation::PerformKeyExchange, "performKeyExchange", key, [&](Wire::Client& client) {
    return client.PerformKeyExchange(m_session, key.objectID, algorithms, data, size, sharedInfo);
  });
}

Bytes KeySession::Perform(Wire::Operation number, const std::string& call, const Wire::Item& key,
                          const Operation& operation) {
  try {
    return Attempt(number, call, key, operation);
  } catch (const Failure& failure) {
    const std::string gone = WhatIsGone(m_token.Reader());
    if (gone.empty()) throw;
    throw Failure(ExitStatus::NoToken, std::string(NameOf(number)) + " failed: " + gone + " and run the command again");
  }
}

Bytes KeySession::Attempt(Wire::Operation number, const std::string& call, const Wire::Item& key,
                          const Operation& operation) {
  for (int round = 0; round < kRounds; ++round) {
    auto answer = m_token.Process().Ask({call, NameOf(number)}, operation);
    if (answer) return *std::move(answer.value);
    if (!IsTokenKitError(answer.error, kAuthenticationNeeded)) throw OperationFailure(NameOf(number), answer.error);
    Authenticate(number, key);
  }
  throw Failure(ExitStatus::Failed, std::string(NameOf(number)) + " still needs authentication after " +
                                        std::to_string(kRounds) + " logins (TKErrorDomain -9); insert the card again");
}

void KeySession::Authenticate(Wire::Operation number, const Wire::Item& key) {
  const auto constraint = key.constraints.find(number);
  if (constraint == key.constraints.end() || constraint->second == false)
    throw Failure(ExitStatus::NotSupported, std::string(NameOf(number)) + " needs a login that key " + key.objectID +
                                                " does not offer; use another key");
  const auto begun = m_token.Process().Ask(
      {"beginAuth " + constraint->second.dump(), kLogin},
      [&](Wire::Client& client) { return client.BeginAuth(m_session, number, constraint->second); });
  if (!begun) throw OperationFailure(kLogin, begun.error);

  std::optional<Wire::Attachment> pin;
  const bool hasPinPad = begun->kind == "none";
  if (!hasPinPad) pin = m_pins.Read(PinTriesLeft(m_token.Reader(), key.objectID));
  const char* const wait = hasPinPad ? "Waiting for the PIN on the reader" : "Checking the PIN";
  const auto finished = m_token.Process().Ask({"finishAuth " + begun->kind, kLogin, wait}, [&](Wire::Client& client) {
    return client.FinishAuth(begun->id, std::move(pin));
  });
  if (!finished) throw LoginFailure(key, finished.error);
}

Failure KeySession::LoginFailure(const Wire::Item& key, const std::optional<Wire::Error>& error) const {
  if (error && !IsTokenKitError(error, kBadParameter)) return OperationFailure(kLogin, error);
  const std::optional<int> tries = PinTriesLeft(m_token.Reader(), key.objectID);
  const std::string locked = "the PIN is locked: unlock it with 'softcard unlock'";
  std::string text;
  if (error) {
    text = "login failed: wrong PIN (" + Describe(error) + "); ";
    text += !tries ? "use the right one" : *tries > 0 ? "tries left: " + std::to_string(*tries) : locked;
  } else {
    text = "login failed: the card refused the PIN without a reason (no error object); ";
    text += !tries || *tries == 0 ? locked : "tries left: " + std::to_string(*tries);
  }
  return {ExitStatus::PinRefused, text};
}

}  // namespace Host
