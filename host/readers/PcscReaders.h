/// Readers of the system's smart-card service (pcscd).

#pragma once

#include <winscard.h>

#include <atomic>
#include <chrono>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/readers/PathNotices.h"
#include "host/readers/Readers.h"

namespace Host {

/// One connection to the service, for one thread. Made anew when the service went away and came back.
class PcscConnection {
 public:
  /// Throws Failure when the system gives no notices of changes.
  PcscConnection();
  ~PcscConnection();
  PcscConnection(const PcscConnection&) = delete;
  PcscConnection& operator=(const PcscConnection&) = delete;

  /// The readers and cards as they are now; when the service gives none, why. A reader that was not there the last
  /// time, or that another run of the service gives, has another number of insertions than it had.
  ServiceReaders Readers();

  /// Waits in the service until a reader or card comes or goes after the last Readers(); while there is no service,
  /// until it may have come. No longer than `limit`, in milliseconds; negative: without limit.
  /// Another thread may cut it short with Cancel.
  void Wait(int limit);
  void Cancel();

 private:
  /// A reader as the service told of it last.
  struct Known {
    DWORD state;
    unsigned long plugged;  ///< differs each time that a reader comes
  };

  LONG Connect();
  void Disconnect();
  LONG ReadNames(std::vector<std::string>& names);
  LONG Compare(std::vector<SCARD_READERSTATE>& states, DWORD milliseconds) const;
  void WaitForService(int limit);

  std::atomic<SCARDCONTEXT> m_context{0};
  unsigned long m_plugged = 0;
  std::map<std::string, Known> m_known;
  size_t m_readerCount = 0;  ///< as the service told it last
  int m_cancelled = -1;      ///< can be read from after Cancel
  PathNotices m_socket;      ///< of the service
};

/// Follows the service in a thread of its own.
class PcscMonitor {
 public:
  /// Throws Failure as PcscConnection does.
  PcscMonitor();
  ~PcscMonitor();
  PcscMonitor(const PcscMonitor&) = delete;
  PcscMonitor& operator=(const PcscMonitor&) = delete;

  /// Readable when something has changed since Readers was called.
  int Descriptor() const { return m_changed; }
  ServiceReaders Readers();

 private:
  void Follow();

  PcscConnection m_connection;
  int m_changed = -1;
  std::mutex m_lock;
  ServiceReaders m_readers;
  std::atomic<bool> m_ends{false};
  std::future<void> m_following;
};

}  // namespace Host
