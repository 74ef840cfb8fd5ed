#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "tests/support/RunningProgram.h"
#include "tests/support/TemporaryDirectory.h"

/// A smart-card service of the test's own: its socket, configuration and port are private. It has two virtual readers,
/// and programs that the test starts find it. Ended with this object.
class ReaderService {
 public:
  /// Throws std::runtime_error when the service does not come up.
  ReaderService();
  ~ReaderService();
  ReaderService(const ReaderService&) = delete;
  ReaderService& operator=(const ReaderService&) = delete;

  /// Why a test cannot have a service of its own; empty when it can.
  static std::string Obstacle();
  static std::string ReaderName() { return "Virtual PCD 00 00"; }

  void Start();
  /// The service goes on without its readers.
  void StartWithoutReaders();
  /// Ends the service: to its clients all its readers are unplugged.
  void Stop();
  int Port() const { return m_port; }

 private:
  TemporaryDirectory m_folder;
  int m_port = 0;
  pid_t m_process = 0;
};

/// `softcard virtual`: a card in the service's first reader for as long as this object lives.
class VirtualCard {
 public:
  /// Throws std::runtime_error when the reader does not take it.
  explicit VirtualCard(const ReaderService& service);

 private:
  std::optional<RunningProgram> m_program;
};
