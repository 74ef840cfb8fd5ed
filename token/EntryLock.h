#pragma once

#include <mutex>

/// Held while a thread is in the extension, so that one thread at a time is in the maker's library, which is
/// initialized without locking. CryptoTokenKit keeps to one call at a time for each token; two readers have two. Taken
/// first where CryptoTokenKit enters and where a token goes. A thread may take it again: what it releases on its way
/// may be a token.
class EntryLock {
 public:
  EntryLock() : m_held(Mutex()) {}
  EntryLock(const EntryLock&) = delete;
  EntryLock& operator=(const EntryLock&) = delete;

 private:
  /// Never destroyed: a token may go while the process exits.
  static std::recursive_mutex& Mutex() {
    static auto& mutex = *new std::recursive_mutex;
    return mutex;
  }

  std::lock_guard<std::recursive_mutex> m_held;
};
