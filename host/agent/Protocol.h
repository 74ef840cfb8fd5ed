/// What an SSH agent answers: draft-ietf-sshm-ssh-agent, as far as keys that stay on a card can be served.

#pragma once

#include <optional>

#include "host/agent/Encoding.h"

namespace Ssh {

struct Identity {
  Bytes blob;
  std::string comment;
};

/// Where the keys are.
class Keyring {
 public:
  virtual ~Keyring() = default;
  /// The keys that can sign now.
  virtual std::vector<Identity> Identities() = 0;
  /// The signature over `data`, encoded with its method's name. Nothing when it is refused.
  virtual std::optional<Bytes> Sign(const Bytes& blob, const Bytes& data, uint32_t flags) = 0;
};

/// Hides the keys until the passphrase that hid them is given again. Keeps a salted digest of it only.
class Lock {
 public:
  bool IsLocked() const { return m_locked; }
  /// Returns whether it took effect: a locked one is not locked again, and only the same passphrase unlocks.
  bool Close(View passphrase);
  bool Open(View passphrase);

 private:
  Bytes Digest(View passphrase) const;

  bool m_locked = false;
  Bytes m_salt, m_digest;
};

/// Answers one message after the other, whoever sent it.
class Agent {
 public:
  /// Uses `keyring`, which outlives it.
  explicit Agent(Keyring& keyring) : m_keyring(keyring) {}

  /// The answer to `message`; both are without their length. A passphrase in it is not copied. A message that is
  /// malformed or asks for what a card does not do, such as to add or remove keys, is answered with a failure; none
  /// throws.
  Bytes Answer(View message);
  Bytes Answer(const Bytes& message) { return Answer(View{message.data(), message.size()}); }

 private:
  Bytes Dispatch(uint8_t type, Parser& request);
  Bytes ListIdentities();
  Bytes Sign(Parser& request);

  Keyring& m_keyring;
  Lock m_lock;
};

}  // namespace Ssh
