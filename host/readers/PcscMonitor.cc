#include <sys/eventfd.h>
#include <unistd.h>

#include "host/readers/PcscReaders.h"

namespace Host {

PcscMonitor::PcscMonitor()
    : m_changed(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_readers(m_connection.Readers()),
      m_following(std::async(std::launch::async, [this] { Follow(); })) {}

PcscMonitor::~PcscMonitor() {
  m_ends = true;
  // More than once: the service forgets a cancellation that comes before the wait.
  do m_connection.Cancel();
  while (m_following.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready);
  close(m_changed);
}

void PcscMonitor::Follow() {
  while (!m_ends) {
    m_connection.Wait(-1);
    if (m_ends) return;
    ServiceReaders readers = m_connection.Readers();
    const std::lock_guard<std::mutex> guard(m_lock);
    if (readers == m_readers) continue;
    m_readers = std::move(readers);
    eventfd_write(m_changed, 1);
  }
}

ServiceReaders PcscMonitor::Readers() {
  const std::lock_guard<std::mutex> guard(m_lock);
  eventfd_t count = 0;
  eventfd_read(m_changed, &count);
  return m_readers;
}

}  // namespace Host
