#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Host {

/// What an extension's process prints, for this program's standard error: line by line, and nothing in it that steers a
/// terminal. The process has the end of a pipe instead of this program's files and terminal, which it could empty,
/// read, or type at.
class PrintedLines {
 public:
  /// Throws Failure when the system has no pipe to give.
  PrintedLines();
  /// Prints what is left.
  ~PrintedLines();
  PrintedLines(const PrintedLines&) = delete;
  PrintedLines& operator=(const PrintedLines&) = delete;

  /// Where the process prints.
  int Descriptor() const { return m_input; }
  /// For as soon as the process has it.
  void CloseDescriptor();

  /// Prints the whole lines that have come. Any thread.
  void Pass();

 private:
  void Run();

  std::mutex m_lock;
  std::string m_begun;  ///< a line whose end has not come
  int m_input = -1;
  int m_output = -1;
  int m_stop = -1;
  std::thread m_thread;
};

}  // namespace Host
