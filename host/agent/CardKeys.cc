#include "host/agent/CardKeys.h"

#include <algorithm>
#include <cstdio>

#include "host/keys/SignatureNames.h"
#include "host/terminal/TerminalText.h"

namespace Host {
namespace {

using Wire::Item;

void Tell(const std::string& line) {
  std::fprintf(stderr, "ctkhost: %s\n", ForTerminal(line, std::string::npos).c_str());
}

/// A key's comment, as clients print it and as it may end up in a file of keys: one line, and no control of a terminal.
std::string CommentOf(const Item& item) {
  constexpr size_t kLongest = 200;  // columns
  return ForTerminal(item.label.value_or(""), kLongest);
}

}  // namespace

struct CardKeys::Key {
  Ssh::PublicKey publicKey;
  const Item* item;
};

struct CardKeys::HeldToken {
  HeldToken(ExtensionProcess& process, const Reader& reader, const PinSource& pins)
      : token(process, reader.name), session(token, pins), insertion(reader.insertions), run(process.Run()) {
    for (const Item& certificate : token.Items()) {
      if (certificate.kind != Item::Kind::Certificate) continue;
      auto certified = Ssh::KeyOfCertificate(certificate.certificate);
      const Item* item = certified ? SigningKeyWith(certified->hash) : nullptr;
      if (item) keys.push_back({std::move(certified->key), item});
    }
  }

  const Item* SigningKeyWith(const Ssh::Bytes& hash) const {
    for (const Item& item : token.Items())
      if (item.kind == Item::Kind::Key && item.canSign && item.publicKeyHash == hash) return &item;
    return nullptr;
  }

  CardToken token;
  KeySession session;
  unsigned long insertion;
  int run;
  bool pinFileRefused = false;
  std::optional<std::chrono::nanoseconds> end;  ///< of the login, by TimeSinceStart
  std::vector<Key> keys;
};

CardKeys::CardKeys(const Options& options, Lifetime lifetime, ExtensionProcess& process, PinPrompt& prompt)
    : m_options(options),
      m_lifetime(lifetime),
      m_process(process),
      m_prompt(prompt),
      m_pins(options.pinFile, [this](const std::string& text) { return m_prompt.Ask(text); }) {}

CardKeys::~CardKeys() = default;

std::vector<Ssh::Identity> CardKeys::Identities() {
  Follow();
  std::vector<Ssh::Identity> identities;
  for (const auto& [reader, token] : m_tokens)
    for (const Key& key : token->keys) {
      const auto isKnown = [&](const Ssh::Identity& known) { return known.blob == key.publicKey.blob; };
      if (std::none_of(identities.begin(), identities.end(), isKnown))  // several certificates may have one key
        identities.push_back({key.publicKey.blob, CommentOf(*key.item)});
    }
  return identities;
}

std::optional<Ssh::Bytes> CardKeys::Sign(const Ssh::Bytes& blob, const Ssh::Bytes& data, uint32_t flags) {
  // Twice, because an extension that ended between two requests costs neither of them.
  for (int attempt = 0; attempt < 2; ++attempt) {
    Follow();
    const auto found = Find(blob);
    const auto method = found ? Ssh::MethodFor(found->key->publicKey.type, flags) : std::nullopt;
    if (!method) return std::nullopt;
    try {
      return SignWith(*found, *method, data);
    } catch (const Ssh::Malformed& problem) {
      Tell(std::string("the card's signature is not understood: ") + problem.what());
      return std::nullopt;
    } catch (const Failure& failure) {
      const bool startedAgain = m_process.IsRunning() && m_process.Run() != found->token->run;
      if (startedAgain && attempt == 0) continue;
      Tell(failure.what());
      const ExitStatus status = failure.Status();
      if (status == ExitStatus::PinRefused) found->token->pinFileRefused = !m_options.pinFile.empty();
      // Whatever else failed may have done so behind the login.
      if (status != ExitStatus::PinRefused && status != ExitStatus::Cancelled) LimitLogin(*found->token);
      return std::nullopt;
    }
  }
  return std::nullopt;
}

Ssh::Bytes CardKeys::SignWith(const Found& found, const Ssh::SignatureMethod& method, const Ssh::Bytes& data) {
  // The file's PIN would be refused again, and each time costs a try.
  if (found.token->pinFileRefused)
    throw Failure(ExitStatus::PinRefused,
                  "the PIN in " + m_options.pinFile + " was refused; correct it and insert the card again");
  const Item& item = *found.key->item;
  m_prompt.SetPurpose("SSH key " + ForTerminal(item.label.value_or(item.objectID), 40));
  const Ssh::Bytes signature = found.token->session.Sign(item, SignatureAlgorithm(method.algorithm), data);
  Ssh::Bytes encoded = Ssh::EncodeSignature(found.key->publicKey.type, method, signature);
  LimitLogin(*found.token);
  return encoded;
}

void CardKeys::LimitLogin(HeldToken& token) {
  if (!m_lifetime || token.end) return;
  token.end = TimeSinceStart() + *m_lifetime;
  // With its token the card's login ends.
  if (*m_lifetime == std::chrono::seconds(0)) m_tokens.erase(token.token.Reader());
  SetAlarm();
}

void CardKeys::SetAlarm() {
  std::optional<std::chrono::nanoseconds> next;
  for (const auto& [reader, token] : m_tokens)
    if (token->end && (!next || *token->end < *next)) next = token->end;
  m_alarm.SetTo(next);
}

std::optional<CardKeys::Found> CardKeys::Find(const Ssh::Bytes& blob) {
  for (const auto& [reader, token] : m_tokens)
    for (const Key& key : token->keys)
      if (key.publicKey.blob == blob) return Found{token.get(), &key};
  return std::nullopt;
}

std::vector<int> CardKeys::Descriptors() const {
  std::vector<int> descriptors = m_readers.Descriptors();
  descriptors.push_back(m_alarm.Descriptor());
  return descriptors;
}

void CardKeys::EndGone() {
  KeepCurrent();
}

std::vector<Reader> CardKeys::KeepCurrent() {
  ServiceReaders found;
  try {
    found = m_readers.Readers();
  } catch (const Failure& failure) {
    Tell(failure.what());
  }
  std::vector<Reader> served;
  for (Reader& reader : found.readers)
    if (m_options.reader.empty() || reader.name == m_options.reader) served.push_back(std::move(reader));
  for (auto held = m_tokens.begin(); held != m_tokens.end();)
    held = IsCurrent(*held->second, served) ? std::next(held) : m_tokens.erase(held);
  SetAlarm();
  TellOfService(served.empty() ? found.problem : "");
  return served;
}

void CardKeys::TellOfService(const std::string& problem) {
  if (!problem.empty() && problem != m_serviceProblem) Tell(problem);
  m_serviceProblem = problem;
}

void CardKeys::Follow() {
  for (const Reader& reader : KeepCurrent())
    if (reader.hasCard) Hold(reader);
}

bool CardKeys::IsCurrent(const HeldToken& token, const std::vector<Reader>& readers) const {
  if (!m_process.IsRunning() || m_process.Run() != token.run) return false;
  if (token.end && *token.end <= TimeSinceStart()) return false;
  return std::any_of(readers.begin(), readers.end(), [&](const Reader& reader) {
    return reader.name == token.token.Reader() && reader.hasCard && reader.insertions == token.insertion;
  });
}

void CardKeys::Hold(const Reader& reader) {
  if (m_tokens.count(reader.name) != 0) return;
  try {
    m_tokens[reader.name] = std::make_unique<HeldToken>(m_process, reader, m_pins);
  } catch (const Failure& failure) {
    m_tokens.erase(reader.name);
    Tell(failure.what());
  }
}

}  // namespace Host
