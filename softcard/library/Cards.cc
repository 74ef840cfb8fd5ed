#include "softcard/library/Cards.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include "softcard/library/Beneath.h"
#include "softcard/state/Tries.h"

namespace SoftCard {

namespace {

constexpr CK_SLOT_ID kSlotsPerReader = 16;

std::string StampOf(const std::filesystem::path& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return "none";
  return std::to_string(status.st_ino) + ":" + std::to_string(status.st_mtim.tv_sec) + "." +
         std::to_string(status.st_mtim.tv_nsec);
}

/// Changes whenever the state file, or that with the PIN tries, is replaced. "none" without a state.
std::string Stamp(const std::filesystem::path& directory) {
  const std::string state = directory.empty() ? "none" : StampOf(directory / "state.json");
  return state == "none" ? state
                         : directory.string() + ":" + state + ":" + StampOf(LiveDirectory(directory) / "tries.json");
}

}  // namespace

Cards& Cards::Shared() {
  // Never destroyed: callers finalize from their own destructors at process exit, after this one's would have run.
  static Cards& cards = *new Cards;
  return cards;
}

std::filesystem::path Cards::Directory() {
  const bool directed = std::getenv("SOFTHSM2_CONF") && !std::getenv("QEL_SOFTCARD_DIR");
  return directed ? std::filesystem::path() : StateDirectory();
}

std::shared_ptr<const State> Cards::Now() {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  return Refresh();
}

std::shared_ptr<const State> Cards::Refresh() {
  const auto directory = Directory();
  const auto stamp = Stamp(directory);
  if (stamp != m_stamp) {
    m_state = std::make_shared<const State>(stamp == "none" ? State() : Load(directory));
    m_stamp = stamp;
    EndSessionsOfRemovedCards(*m_state);
  }
  return m_state;
}

void Cards::EndSessionsOfRemovedCards(State state) {
  for (auto& [handle, session] : m_sessions) {
    const auto* reader = state.FindReader(session.reader);
    const bool present = reader && !reader->card.empty() && reader->insertions == session.insertions;
    if (present || session.removed) continue;
    session.removed = true;
    Beneath()->C_CloseSession(handle);
  }
}

bool Cards::Configured() {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  return m_configured;
}

CK_RV Cards::StartBeneath(void* arguments) {
  const ScopedEnvironment store("SOFTHSM2_CONF", PrepareTokenStore(Directory()));
  return InitializeBeneath(ParametersBeneath(Directory(), *m_state), arguments);
}

CK_RV Cards::Initialize(void* arguments) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto state = Refresh();
  if (state->readers.empty() || m_configured)
    return InitializeBeneath(ParametersBeneath(Directory(), *state), arguments);
  const auto result = StartBeneath(arguments);
  if (result != CKR_OK) return result;
  m_configured = true;
  if (arguments) m_arguments = *static_cast<CK_C_INITIALIZE_ARGS*>(arguments);
  return result;
}

CK_RV Cards::Finalize(void* reserved) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto result = FinalizeBeneath(reserved);
  if (result != CKR_OK) return result;
  m_configured = false;
  m_arguments.reset();
  m_sessions.clear();
  return result;
}

std::vector<CK_SLOT_ID> Cards::Slots(bool onlyWithToken) {
  auto state = *Now();
  std::vector<CK_SLOT_ID> slots;
  for (size_t number = 0; number < state.readers.size(); number++) {
    const auto* card = state.FindCard(state.readers[number].card);
    const size_t shown = card ? card->tokens.size() : onlyWithToken ? 0 : 1;
    for (size_t token = 0; token < shown; token++) slots.push_back(number * kSlotsPerReader + token);
  }
  return slots;
}

std::optional<Place> Cards::Find(CK_SLOT_ID slot) {
  const auto slots = Slots(false);
  if (std::find(slots.begin(), slots.end(), slot) == slots.end()) return {};
  auto state = *Now();
  Place place{state.readers[slot / kSlotsPerReader], {}, slot % kSlotsPerReader};
  if (const auto* card = state.FindCard(place.reader.card)) place.card = *card;
  return place;
}

std::optional<CK_SLOT_ID> Cards::LookUpBeneath(const Token& token) {
  CK_ULONG count = 0;
  if (Beneath()->C_GetSlotList(CK_TRUE, nullptr, &count) != CKR_OK) return {};
  std::vector<CK_SLOT_ID> slots(count);
  if (Beneath()->C_GetSlotList(CK_TRUE, slots.data(), &count) != CKR_OK) return {};
  slots.resize(count);
  for (const auto slot : slots) {
    CK_TOKEN_INFO info{};
    if (Beneath()->C_GetTokenInfo(slot, &info) == CKR_OK && Unpadded(info.label) == token.label &&
        Unpadded(info.serialNumber) == token.serial)
      return slot;
  }
  return {};
}

CK_RV Cards::SlotBeneath(CK_SLOT_ID slot, CK_SLOT_ID& beneath) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto place = Find(slot);
  if (!place) return CKR_SLOT_ID_INVALID;
  if (!place->card) return CKR_TOKEN_NOT_PRESENT;
  const auto& token = place->card->tokens[place->token];
  auto found = LookUpBeneath(token);
  const auto live = [](const auto& entry) { return !entry.second.removed; };
  if (!found && std::none_of(m_sessions.begin(), m_sessions.end(), live)) {
    // The library reads its tokens when it starts: a card made since then is seen after another start.
    FinalizeBeneath(nullptr);
    const auto result = StartBeneath(m_arguments ? &*m_arguments : nullptr);
    if (result != CKR_OK) return result;
    found = LookUpBeneath(token);
  }
  if (!found) return CKR_TOKEN_NOT_RECOGNIZED;
  beneath = *found;
  return CKR_OK;
}

std::optional<CK_SLOT_ID> Cards::SlotOfSession(CK_SESSION_HANDLE session) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto found = m_sessions.find(session);
  if (found == m_sessions.end()) return {};
  return found->second.slot;
}

CK_RV Cards::CheckSession(CK_SESSION_HANDLE session) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  Refresh();
  const auto found = m_sessions.find(session);
  return found != m_sessions.end() && found->second.removed ? CKR_DEVICE_REMOVED : CKR_OK;
}

void Cards::SessionOpened(CK_SESSION_HANDLE session, CK_SLOT_ID slot) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  if (const auto place = Find(slot)) m_sessions[session] = {slot, place->reader.name, place->reader.insertions};
}

void Cards::SessionClosed(CK_SESSION_HANDLE session) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  m_sessions.erase(session);
}

void Cards::SignatureBegun(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE ecdsaKey) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto found = m_sessions.find(session);
  if (found != m_sessions.end()) found->second.ecdsaKey = ecdsaKey;
}

CK_OBJECT_HANDLE Cards::EcdsaKeyOf(CK_SESSION_HANDLE session) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  const auto found = m_sessions.find(session);
  return found == m_sessions.end() ? CK_INVALID_HANDLE : found->second.ecdsaKey;
}

void Cards::SessionsClosed(CK_SLOT_ID slot) {
  const std::lock_guard<std::recursive_mutex> lock(m_mutex);
  for (auto each = m_sessions.begin(); each != m_sessions.end();)
    each = each->second.slot == slot ? m_sessions.erase(each) : std::next(each);
}

}  // namespace SoftCard
