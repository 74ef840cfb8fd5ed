#include "host/module/Module.h"

namespace Host {

ModuleToken::ModuleToken(ExtensionProcess& process, const Reader& reader)
    : m_card(process, reader.name),
      m_objects(ObjectsOf(m_card.Items())),
      m_pins("",
             [this](const std::string&) {
               if (!m_pin) throw Failure(ExitStatus::PinRefused, "the key needs a login; give the PIN first");
               Wire::Attachment pin = *std::move(m_pin);
               m_pin.reset();
               return pin;
             }),
      m_session(m_card, m_pins),
      m_insertion(reader.insertions) {}

const Wire::Item* ModuleToken::FirstKey() const {
  for (const ModuleObject& object : m_objects)
    if (object.key) return object.key;
  return nullptr;
}

bool ModuleToken::HasPinPad() {
  const Wire::Item* key = FirstKey();
  return key && !m_session.WantsPin(*key);
}

void ModuleToken::LogIn(std::optional<Wire::Attachment> pin) {
  const Wire::Item* key = FirstKey();
  if (!key) throw Failure(ExitStatus::NotSupported, "the card has no key to log in for");
  m_pin = std::move(pin);
  try {
    m_session.LogIn(*key);
  } catch (...) {
    m_pin.reset();
    throw;
  }
  m_pin.reset();
  m_isLoggedIn = true;
}

}  // namespace Host
