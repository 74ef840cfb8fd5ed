#include "host/TokenService.h"

namespace Host {

CardToken::CardToken(ExtensionProcess& process, std::string reader) : m_process(process), m_reader(std::move(reader)) {
  auto answer = m_process.Ask(
      {"createToken \"" + m_reader + "\"", "reading the card in \"" + m_reader + "\"", "Reading the card"},
      [&](Wire::Client& client) { return client.CreateToken(m_reader); });
  if (!answer)
    throw Failure(ExitStatus::NoToken, "no token for the card in reader \"" + m_reader + "\" (" +
                                           Describe(answer.error) + "); is it a card of this maker?");
  m_token = *std::move(answer.value);
  m_run = m_process.Run();
}

CardToken::~CardToken() {
  try {
    Terminate();
  } catch (const Failure&) {
    // The observer has seen it, and the command's own result stands.
  }
}

void CardToken::Terminate() {
  const bool gone = m_ended || !m_process.IsRunning() || m_process.Run() != m_run;
  m_ended = true;
  if (!gone)
    m_process.Ask({"terminateToken", "ending the card's token"},
                  [&](Wire::Client& client) { return client.TerminateToken(m_token.id); });
}

}  // namespace Host
