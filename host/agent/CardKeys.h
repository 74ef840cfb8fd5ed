#pragma once

#include <map>
#include <memory>

#include "host/Commands.h"
#include "host/Readers.h"
#include "host/TokenService.h"
#include "host/agent/Keys.h"
#include "host/agent/PinPrompt.h"
#include "host/agent/Protocol.h"

namespace Host {

/// The keys of the cards that are in the readers, for an agent. Cards are looked for with each request; a card's token
/// is kept, and with it the login, until the card is removed. What fails is told of on standard error.
class CardKeys : public Ssh::Keyring {
 public:
  enum class Login { UntilRemoval, ForEachSignature };

  /// Uses `process` and `prompt`, which outlive it. Asks with `prompt` unless `options` name a file with the PIN.
  CardKeys(const Options& options, Login login, ExtensionProcess& process, PinPrompt& prompt);
  ~CardKeys() override;

  std::vector<Ssh::Identity> Identities() override;
  std::optional<Ssh::Bytes> Sign(const Ssh::Bytes& blob, const Ssh::Bytes& data, uint32_t flags) override;

 private:
  struct Key;
  struct HeldToken;
  struct Found {
    HeldToken* token;
    const Key* key;
  };

  /// Ends the tokens of cards that are gone and makes those of new ones.
  void Follow();
  void Hold(const Reader& reader);
  bool IsCurrent(const HeldToken& token, const std::vector<Reader>& readers) const;
  std::optional<Found> Find(const Ssh::Bytes& blob);
  Ssh::Bytes SignWith(const Found& found, const Ssh::SignatureMethod& method, const Ssh::Bytes& data);

  const Options& m_options;
  Login m_login;
  ExtensionProcess& m_process;
  PinPrompt& m_prompt;
  PinSource m_pins;
  std::map<std::string, std::unique_ptr<HeldToken>> m_tokens;  ///< by reader
};

}  // namespace Host
