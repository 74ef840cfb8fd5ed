#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "platform/wire/Client.h"

/// A running process of an extension, with a channel to it.
class ExtensionProcess {
 public:
  /// Starts `executable`. `option` is what precedes the socket's number on the command line.
  explicit ExtensionProcess(const std::string& executable, const std::string& option = "--host-socket=");
  ~ExtensionProcess();
  ExtensionProcess(const ExtensionProcess&) = delete;
  ExtensionProcess& operator=(const ExtensionProcess&) = delete;

  Wire::Channel& channel() { return *m_channel; }
  Wire::Client client() { return Wire::Client(*m_channel); }
  int socket() const { return m_socket; }  ///< the channel's
  pid_t pid() const { return m_pid; }

  /// Closes the socket and waits for the end. Returns the exit status, or minus the signal's number.
  int End();

  /// What the process wrote to standard error; complete after End().
  const std::string& errors() const { return m_errors; }

 private:
  pid_t m_pid = -1;
  int m_socket = -1;
  int m_errorPipe = -1;
  std::unique_ptr<Wire::Channel> m_channel;
  std::string m_errors;
};
