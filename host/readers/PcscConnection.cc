#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "host/readers/PcscReaders.h"

namespace Host {
namespace {

constexpr char kReadersChange[] = "\\\\?PnP?\\Notification";
constexpr int kTimeToEnd = 100;  // milliseconds
constexpr int kRetry = 1000;     // milliseconds, while there is a socket and nobody answers

std::filesystem::path ServiceSocket() {
  const char* const name = std::getenv("PCSCLITE_CSOCK_NAME");  // as the service's library takes it
  return name ? name : "/run/pcscd/pcscd.comm";
}

SCARD_READERSTATE StateOf(const std::string& name, DWORD known) {
  SCARD_READERSTATE state = {};
  state.szReader = name.c_str();
  state.dwCurrentState = known;
  return state;
}

std::string WhyNone(LONG result) {
  const std::string service = "the smart-card service (pcscd) ";
  switch (result) {
    case SCARD_S_SUCCESS:
      return "";
    case SCARD_E_NO_SERVICE:
    case SCARD_E_SERVICE_STOPPED:
      return service + "does not run; start it to use real readers";
    case SCARD_W_SECURITY_VIOLATION:
    case SCARD_E_NO_ACCESS:
      return service + "refuses this user; its polkit rules say whom it serves";
    default:
      return service + "gives no readers (" + pcsc_stringify_error(result) + "); start it again";
  }
}

/// The upper half of a state counts insertions and removals, from nought each time that the service is started or the
/// reader is plugged in.
unsigned long InsertionNumber(unsigned long plugged, DWORD state) {
  return plugged << 32 | ((state >> 16 & 0xFFFF) + 1);
}

}  // namespace

PcscConnection::PcscConnection() : m_cancelled(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_socket(ServiceSocket()) {}

PcscConnection::~PcscConnection() {
  Disconnect();
  close(m_cancelled);
}

LONG PcscConnection::Connect() {
  if (m_context != 0) return SCARD_S_SUCCESS;
  SCARDCONTEXT context = 0;
  const LONG result = SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
  if (result != SCARD_S_SUCCESS) return result;
  m_context = context;
  return result;
}

void PcscConnection::Disconnect() {
  m_known.clear();
  if (const SCARDCONTEXT context = m_context.exchange(0)) SCardReleaseContext(context);
}

LONG PcscConnection::ReadNames(std::vector<std::string>& names) {
  std::string list;
  DWORD length = 0;
  LONG result = SCARD_E_INSUFFICIENT_BUFFER;
  while (result == SCARD_E_INSUFFICIENT_BUFFER) {  // also when a reader came between the two calls
    result = SCardListReaders(m_context, nullptr, nullptr, &length);
    if (result != SCARD_S_SUCCESS) break;
    list.resize(length);
    result = SCardListReaders(m_context, nullptr, list.data(), &length);
  }
  if (result == SCARD_E_NO_READERS_AVAILABLE) return SCARD_S_SUCCESS;
  if (result != SCARD_S_SUCCESS) return result;
  list.resize(length);
  for (size_t start = 0, end; (end = list.find('\0', start)) != std::string::npos && end > start; start = end + 1)
    names.push_back(list.substr(start, end - start));
  return result;
}

LONG PcscConnection::Compare(std::vector<SCARD_READERSTATE>& states, DWORD milliseconds) const {
  return SCardGetStatusChange(m_context, milliseconds, states.data(), static_cast<DWORD>(states.size()));
}

ServiceReaders PcscConnection::Readers() {
  ServiceReaders found;
  std::vector<std::string> names;
  LONG result = SCARD_S_SUCCESS;
  // Again, because a service that was started again since the last call is noticed when it is asked, and because one
  // that is just ending looks as if it refused.
  for (int attempt = 0; attempt < 3; ++attempt) {
    if (result == SCARD_W_SECURITY_VIOLATION) WaitForService(kTimeToEnd);
    result = Connect();
    if (result == SCARD_S_SUCCESS) result = ReadNames(names);
    if (result == SCARD_S_SUCCESS) break;
    Disconnect();
  }
  found.problem = WhyNone(result);
  m_readerCount = names.size();
  std::map<std::string, Known> known;
  for (const std::string& name : names) {
    std::vector<SCARD_READERSTATE> states = {StateOf(name, SCARD_STATE_UNAWARE)};
    if (Compare(states, 0) != SCARD_S_SUCCESS) continue;  // unplugged just now
    const DWORD state = states[0].dwEventState;
    const auto before = m_known.find(name);
    const unsigned long plugged = before == m_known.end() ? ++m_plugged : before->second.plugged;
    known[name] = {state & ~static_cast<DWORD>(SCARD_STATE_CHANGED), plugged};
    const bool hasCard = (state & SCARD_STATE_PRESENT) != 0 && (state & SCARD_STATE_MUTE) == 0;
    found.readers.push_back({name, hasCard, InsertionNumber(plugged, state)});
  }
  m_known = std::move(known);
  return found;
}

void PcscConnection::Wait(int limit) {
  if (m_context == 0) return WaitForService(limit);
  std::vector<SCARD_READERSTATE> states;
  for (const auto& [name, known] : m_known) states.push_back(StateOf(name, known.state));
  const std::string readersChange = kReadersChange;
  states.push_back(StateOf(readersChange, static_cast<DWORD>(m_readerCount) << 16));
  Compare(states, limit < 0 ? INFINITE : static_cast<DWORD>(limit));
}

void PcscConnection::WaitForService(int limit) {
  m_socket.Take();
  std::error_code ignored;
  // A socket without a listener is one that a service has just made or has left behind: that it listens is not noticed.
  if (std::filesystem::exists(ServiceSocket(), ignored)) limit = limit < 0 ? kRetry : std::min(limit, kRetry);
  pollfd waiting[] = {{m_socket.Descriptor(), POLLIN, 0}, {m_cancelled, POLLIN, 0}};
  poll(waiting, 2, limit);
}

void PcscConnection::Cancel() {
  eventfd_write(m_cancelled, 1);
  if (const SCARDCONTEXT context = m_context) SCardCancel(context);
}

}  // namespace Host
