#include "host/readers/ReaderMonitor.h"

#include <poll.h>

#include "softcard/state/State.h"

namespace Host {

ReaderMonitor::ReaderMonitor() : m_softReaders(SoftCard::StateDirectory() / "state.json") {}

ServiceReaders ReaderMonitor::Readers() {
  m_softReaders.Take();
  ServiceReaders found = m_service.Readers();
  found.readers = WithSoftReaders(std::move(found.readers));
  return found;
}

void ReaderMonitor::Wait(const std::vector<int>& also) {
  std::vector<pollfd> waiting;
  for (const int descriptor : Descriptors()) waiting.push_back({descriptor, POLLIN, 0});
  for (const int descriptor : also) waiting.push_back({descriptor, POLLIN, 0});
  poll(waiting.data(), waiting.size(), -1);
}

}  // namespace Host
