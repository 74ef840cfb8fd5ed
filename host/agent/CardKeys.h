#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>

#include "host/agent/Keys.h"
#include "host/agent/Lifetime.h"
#include "host/agent/PinPrompt.h"
#include "host/agent/Protocol.h"
#include "host/base/Options.h"
#include "host/keys/KeySession.h"
#include "host/readers/ReaderMonitor.h"

namespace Host {

/// The keys of the cards that are in the readers, for an agent. The readers are followed all the time; a card's token
/// is made when it is first asked for and kept, and with it the login, until the card is removed or the login's time is
/// over: also one that is put back or exchanged between two requests logs in anew. What fails is told of on standard
/// error.
class CardKeys : public Ssh::Keyring {
 public:
  /// How long a login lasts: nothing: until the card is removed; zero: for one signature.
  using Lifetime = std::optional<std::chrono::seconds>;

  /// Uses `process` and `prompt`, which outlive it. Asks with `prompt` unless `options` name a file with the PIN.
  /// Throws Failure as ReaderMonitor and Alarm do.
  CardKeys(const Options& options, Lifetime lifetime, ExtensionProcess& process, PinPrompt& prompt);
  ~CardKeys() override;

  std::vector<Ssh::Identity> Identities() override;
  std::optional<Ssh::Bytes> Sign(const Ssh::Bytes& blob, const Ssh::Bytes& data, uint32_t flags) override;

  /// One of them is readable when EndGone may have something to do.
  std::vector<int> Descriptors() const;
  /// Ends the tokens of cards that are gone, and logins whose time is over.
  void EndGone();

 private:
  struct Key;
  struct HeldToken;
  struct Found {
    HeldToken* token;
    const Key* key;
  };

  /// Does what EndGone does. Returns the readers that are there and served.
  std::vector<Reader> KeepCurrent();
  /// Tells once of what keeps all readers away; empty: nothing does.
  void TellOfService(const std::string& problem);
  /// Makes the tokens of new cards as well.
  void Follow();
  void Hold(const Reader& reader);
  bool IsCurrent(const HeldToken& token, const std::vector<Reader>& readers) const;
  /// Ends the login's token when its time is over at once, else when it is.
  void LimitLogin(HeldToken& token);
  /// Sets the alarm to the end of the next login.
  void SetAlarm();
  std::optional<Found> Find(const Ssh::Bytes& blob);
  Ssh::Bytes SignWith(const Found& found, const Ssh::SignatureMethod& method, const Ssh::Bytes& data);

  const Options& m_options;
  Lifetime m_lifetime;
  ExtensionProcess& m_process;
  PinPrompt& m_prompt;
  PinSource m_pins;
  ReaderMonitor m_readers;
  Alarm m_alarm;
  std::string m_serviceProblem;                                ///< as it was told last
  std::map<std::string, std::unique_ptr<HeldToken>> m_tokens;  ///< by reader
};

}  // namespace Host
