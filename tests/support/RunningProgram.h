#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

/// A program that runs beside the test. Ended, if need be by force, with this object.
class RunningProgram {
 public:
  enum class Output {
    Pipe,      ///< standard output and error together
    Terminal,  ///< of 80 columns and 24 rows
  };

  /// Throws std::runtime_error when there is no such program.
  RunningProgram(const std::string& program, const std::vector<std::string>& arguments,
                 const ChildEnvironment& environment, Output output = Output::Pipe);
  ~RunningProgram();
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Waits until `text` is printed after what an earlier call waited for. Returns whether it came within `patience`.
  bool Prints(const std::string& text, std::chrono::milliseconds patience = std::chrono::seconds(20));

  /// Everything printed so far.
  const std::string& Printed() const { return m_printed; }

  /// Sends what a user types.
  void Type(const std::string& text);
  void Signal(int number);
  /// For a terminal: gives it another size, and whether it echoes what is typed.
  void Resize(unsigned short columns, unsigned short rows);
  bool Echoes() const;
  pid_t Process() const { return m_process; }

  /// Waits for the end. Returns the exit status; nothing when a signal ended it.
  std::optional<int> Wait();

 private:
  /// Reads what is there, waiting for it at most until `deadline`. Returns whether there can be more.
  bool ReadMore(std::chrono::steady_clock::time_point deadline);

  pid_t m_process = 0;
  int m_output = -1;
  std::string m_printed;
  size_t m_waitedFor = 0;
};
