#pragma once

#include <signal.h>

#include <vector>

namespace Host {

/// From now on `signals` end nothing: for each that comes the descriptor that this returns can be read from, until
/// SignalCame is asked. Throws Failure when the system has no pipe.
int SignalDescriptor(const std::vector<int>& signals);

/// Whether one of the signals of `descriptor` came since the last time. Does not wait.
bool SignalCame(int descriptor);

/// While this lives, signals do nothing but come to its descriptor. What is ignored stays so.
class CaughtSignals {
 public:
  /// Throws Failure when the system has no pipe.
  explicit CaughtSignals(const std::vector<int>& signals);
  /// Those that nobody took come to this program now.
  ~CaughtSignals();
  CaughtSignals(const CaughtSignals&) = delete;
  CaughtSignals& operator=(const CaughtSignals&) = delete;

  /// Readable when one came.
  int Descriptor() const { return m_ends[0]; }
  /// The next one that came; 0: none. Does not wait.
  int Next() const;
  /// Lets `signal` do to this program what it would have done without this.
  void Deliver(int signal) const;

 private:
  struct Before {
    int signal;
    int pipe;
    struct sigaction action;
  };
  static void PutBack(const Before& before);

  int m_ends[2] = {-1, -1};
  std::vector<Before> m_before;
};

}  // namespace Host
