#pragma once

#include <memory>

#include "tests/host/agent/AgentClient.h"
#include "tests/integration/RealCard.h"

/// `ctkhost agent` for a card of its own, and the programs that are its clients.
class CardAgent {
 public:
  /// Where the agent has the PIN from.
  enum class Pin { File, AskPass };

  /// `keys` as `softcard init` names them. Throws std::runtime_error when the agent does not come up.
  explicit CardAgent(const std::vector<std::string>& keys, Pin pin = Pin::File,
                     const std::vector<std::string>& options = {});
  ~CardAgent();

  const RealCard& Card() const { return m_card; }
  BackgroundChild& Process() { return *m_process; }
  std::string Socket() const { return m_card.Path("agent/socket"); }

  /// What the program that asks for the PIN does from now on, in shell; by default it types the right one.
  void OnAsking(const std::string& script) const;
  /// How often the PIN was asked for.
  long TimesAsked() const;

  /// Runs `program` with this agent.
  ChildResult Run(const std::string& program, const std::vector<std::string>& arguments) const;
  /// The lines of `ssh-add -L`.
  std::vector<std::string> Keys() const;
  /// Writes those lines to files. Returns their paths.
  std::vector<std::string> KeyFiles() const;
  /// The same keys as messages have them.
  std::vector<Ssh::Bytes> KeyBlobs() const;

 private:
  RealCard m_card;
  std::unique_ptr<BackgroundChild> m_process;
};

Ssh::Bytes SignRequest(const Ssh::Bytes& key, const std::string& data, uint32_t flags);

/// Returns once the agent that `client` is connected to has seen that earlier clients left. Throws std::runtime_error
/// when it does not answer.
void Settle(AgentClient& client);

/// Whether `answer` brings a signature.
bool IsSigned(const std::optional<Ssh::Bytes>& answer);
