#include "host/keys/CardToken.h"

#include "host/readers/Readers.h"

namespace Host {
namespace {

/// What to do when the extension makes no token, by the stage at which it gave up.
std::string AdviceFor(const std::optional<Wire::Error>& error) {
  switch (error && error->domain == "QELToken" ? error->code : 0) {
    case -1:
    case -2:
    case -3:
    case -9:
      return "the card's PKCS#11 library does not start: 'ctkhost support' shows what it says";
    case -4:
      return "the PKCS#11 library does not know this reader: plug it in again";
    default:
      return "is it a card of this maker, put in the right way? 'ctkhost log' tells more";
  }
}

}  // namespace

CardToken::CardToken(ExtensionProcess& process, std::string reader)
    : m_process(process), m_reader(std::move(reader)), m_insertion(InsertionOf(m_reader)) {
  auto answer = m_process.Ask(
      {"createToken \"" + m_reader + "\"", "reading the card in \"" + m_reader + "\"", "Reading the card"},
      [&](Wire::Client& client) { return client.CreateToken(m_reader); });
  if (!answer)
    throw Failure(ExitStatus::NoToken, "the card in \"" + m_reader + "\" cannot be used (" + Describe(answer.error) +
                                           "); " + AdviceFor(answer.error));
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

bool CardToken::IsExchanged() const {
  const auto now = InsertionOf(m_reader);
  return now && now != m_insertion;
}

bool CardToken::IsKnown() const {
  return !m_ended && m_process.IsRunning() && m_process.Run() == m_run;
}

void CardToken::Terminate() {
  const bool isKnown = IsKnown();
  m_ended = true;
  if (isKnown)
    m_process.Ask({"terminateToken", "ending the card's token"},
                  [&](Wire::Client& client) { return client.TerminateToken(m_token.id); });
}

}  // namespace Host
