#include <algorithm>

#include "host/keys/Conversions.h"
#include "host/keys/ItemNames.h"
#include "host/keys/KeySession.h"
#include "host/keys/SignatureNames.h"
#include "host/readers/Readers.h"

namespace Host {
namespace {

using Wire::Bytes;

// As often as the platform's client asks before it gives up.
constexpr int kRounds = 20;
constexpr char kLogin[] = "login";
constexpr char kOnTheReader[] = "none";  // the kind of login that takes no PIN from here
constexpr char kDecryption[] = "algid:encrypt:RSA:PKCS1";
constexpr char kAgreement[] = "algid:keyexchange:ECDH:KDFX963:SHA1";

/// An operation in messages.
struct Words {
  const char* noun;
  const char* verb;
  const char* hint;  ///< what to ask oneself when it fails
};

Words WordsOf(Wire::Operation operation) {
  switch (operation) {
    case Wire::Operation::SignData:
      return {"signing", "sign", ""};
    case Wire::Operation::DecryptData:
      return {"decryption", "decrypt", "was it encrypted for this key, with RSA PKCS#1 v1.5?"};
    case Wire::Operation::PerformKeyExchange:
      return {"key agreement", "agree a secret", "is the other party's key on the same curve?"};
    default:
      return {"reading", "be read", ""};
  }
}

std::string Listed(const Wire::Algorithms& algorithms) {
  std::string text;
  for (const std::string& algorithm : algorithms) text += (text.empty() ? "" : ", ") + algorithm;
  return "[" + text + "]";
}

Failure NotSupported(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm) {
  const std::string subject = "key " + key.objectID + " (" + KeyTypeName(key) + ") cannot ";
  const std::string name = SignatureNameOf(algorithm);
  return {ExitStatus::NotSupported,
          subject + (name.empty() ? WordsOf(operation).verb + std::string("; 'ctkhost list' shows which key can")
                                  : "sign with " + name + "; RSA keys take rsa-..., EC keys ecdsa-...")};
}

/// What a key's login is asked for: its first operation that has one.
Wire::Operation LoginOperationOf(const Wire::Item& key) {
  for (const auto& [operation, constraint] : key.constraints)
    if (!constraint.is_boolean()) return operation;
  return Wire::Operation::SignData;
}

size_t BlockLength(const Wire::Item& key) {
  return static_cast<size_t>(key.keySizeInBits + 7) / 8;
}

}  // namespace

KeySession::KeySession(const CardToken& token, const PinSource& pins) : m_token(token), m_pins(pins) {
  const auto answer = m_token.Process().Ask({"createSession", "opening the card"},
                                            [&](Wire::Client& client) { return client.CreateSession(m_token.ID()); });
  if (!answer)
    throw Failure(ExitStatus::Failed,
                  "the card cannot be opened (" + Describe(answer.error) + "); take it out and put it in again");
  m_session = *answer;
}

std::optional<Candidate> KeySession::Find(Wire::Operation operation, const Wire::Item& key,
                                          const std::string& algorithm) {
  return FindSupported(operation, algorithm, [&](const Candidate& candidate) {
    const auto answer = m_token.Process().Ask(
        {"supportsOperation " + Listed(candidate.algorithms), WordsOf(operation).noun}, [&](auto& client) {
          return client.SupportsOperation(m_session, candidate.operation, key.objectID, candidate.algorithms);
        });
    return answer && *answer;
  });
}

Wire::Algorithms KeySession::Walk(Wire::Operation operation, const Wire::Item& key, const std::string& algorithm,
                                  Bytes* data) {
  const auto found = Find(operation, key, algorithm);
  if (!found) throw NotSupported(operation, key, algorithm);
  *data = Convert(found->conversions, std::move(*data), BlockLength(key));
  return found->algorithms;
}

bool KeySession::CanSign(const Wire::Item& key) {
  const auto names = SignatureNamesFor(key);
  return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
    return Find(Wire::Operation::SignData, key, SignatureAlgorithm(name)).has_value();
  });
}

bool KeySession::CanDecrypt(const Wire::Item& key) {
  return Find(Wire::Operation::DecryptData, key, kDecryption).has_value();
}

bool KeySession::CanAgree(const Wire::Item& key) {
  return Find(Wire::Operation::PerformKeyExchange, key, kAgreement).has_value();
}

Bytes KeySession::Sign(const Wire::Item& key, const std::string& algorithm, const Bytes& message) {
  Bytes data = message;
  const auto algorithms = Walk(Wire::Operation::SignData, key, algorithm, &data);
  return Perform(Wire::Operation::SignData, "signData", key,
                 [&](Wire::Client& client) { return client.SignData(m_session, key.objectID, algorithms, data); });
}

Bytes KeySession::Decrypt(const Wire::Item& key, const Bytes& ciphertext) {
  Bytes data = ciphertext;
  const auto algorithms = Walk(Wire::Operation::DecryptData, key, kDecryption, &data);
  return Perform(Wire::Operation::DecryptData, "decryptData", key,
                 [&](Wire::Client& client) { return client.DecryptData(m_session, key.objectID, algorithms, data); });
}

Bytes KeySession::Agree(const Wire::Item& key, const Bytes& peer, int64_t size,
                        const std::optional<Bytes>& sharedInfo) {
  Bytes data = peer;
  const auto algorithms = Walk(Wire::Operation::PerformKeyExchange, key, kAgreement, &data);
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
    throw Failure(ExitStatus::NoToken, WordsOf(number).noun + (" failed: " + gone) + " and try again");
  }
}

Bytes KeySession::Attempt(Wire::Operation number, const std::string& call, const Wire::Item& key,
                          const Operation& operation) {
  for (int round = 0; round < kRounds; ++round) {
    auto answer = m_token.Process().Ask({call, WordsOf(number).noun}, operation);
    if (answer) return *std::move(answer.value);
    if (!IsTokenKitError(answer.error, kAuthenticationNeeded))
      throw OperationFailure(WordsOf(number).noun, answer.error, WordsOf(number).hint);
    Authenticate(number, key);
  }
  throw Failure(ExitStatus::Failed, WordsOf(number).noun + std::string(" failed: the card still wants a login after ") +
                                        std::to_string(kRounds) +
                                        " of them (TKErrorDomain -9); take it out, put it in and try again");
}

Wire::Authentication KeySession::BeginAuthentication(Wire::Operation number, const Wire::Item& key) {
  const auto constraint = key.constraints.find(number);
  if (constraint == key.constraints.end() || constraint->second == false)
    throw Failure(ExitStatus::NotSupported, "key " + key.objectID + " cannot " + WordsOf(number).verb +
                                                ": it offers no login for that; use another key");
  const auto begun = m_token.Process().Ask(
      {"beginAuth " + constraint->second.dump(), kLogin},
      [&](Wire::Client& client) { return client.BeginAuth(m_session, number, constraint->second); });
  if (!begun) throw OperationFailure(kLogin, begun.error);
  return *begun;
}

void KeySession::Authenticate(Wire::Operation number, const Wire::Item& key) {
  const Wire::Authentication begun = BeginAuthentication(number, key);
  std::optional<Wire::Attachment> pin;
  const bool hasPinPad = begun.kind == kOnTheReader;
  if (!hasPinPad) {
    pin = m_pins.Read(
        PinPromptFor({m_token.InstanceID(), m_token.Reader(), PinTriesLeft(m_token.Reader(), key.objectID)}));
    // The PIN is another card's, and would cost this one a try.
    if (m_token.IsExchanged())
      throw Failure(ExitStatus::NoToken,
                    "the card in " + m_token.Reader() +
                        " was exchanged while the PIN was asked for; it was not tried, start again");
  }
  const char* const wait = hasPinPad ? "Waiting for the PIN on the reader" : "Checking the PIN";
  const auto finished = m_token.Process().Ask({"finishAuth " + begun.kind, kLogin, wait}, [&](Wire::Client& client) {
    return client.FinishAuth(begun.id, std::move(pin));
  });
  if (!finished) throw LoginFailure(key, finished.error);
}

void KeySession::LogIn(const Wire::Item& key) {
  Authenticate(LoginOperationOf(key), key);
}

bool KeySession::WantsPin(const Wire::Item& key) {
  return BeginAuthentication(LoginOperationOf(key), key).kind != kOnTheReader;
}

Failure KeySession::LoginFailure(const Wire::Item& key, const std::optional<Wire::Error>& error) const {
  if (error && !IsTokenKitError(error, kBadParameter)) return OperationFailure(kLogin, error);
  const std::optional<int> tries = PinTriesLeft(m_token.Reader(), key.objectID);
  const std::string what = error ? "wrong PIN (" + CodeOf(*error) + ")" : "the card refused the PIN without a reason";
  std::string advice = error ? "try again with the right one; the card counts the wrong ones"
                             : "perhaps it is locked: the maker's tool unlocks it";
  if (tries)
    advice = *tries > 0 ? "tries left: " + std::to_string(*tries)
                        : "the PIN is locked now: 'softcard unlock CARD' unlocks it";
  return {ExitStatus::PinRefused, "login failed: " + what + "; " + advice};
}

}  // namespace Host
