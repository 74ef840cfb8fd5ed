#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "platform/wire/Client.h"

namespace Host {

/// What every command takes.
struct Options {
  std::string extension;  ///< bundle
  std::string pinFile;    ///< "-": standard input; empty: the terminal
  std::string reader;     ///< only this one; empty: all
  bool json = false;
  bool verbose = false;
  bool timing = false;  ///< tell where the time of each request went
  bool sandbox = true;  ///< keep the extension to its entitlements, where the kernel can
  std::chrono::seconds timeout{60};
};

struct SignArguments {
  std::string key, algorithm, in, out;
};

struct DecryptArguments {
  std::string key, in, out;
};

struct AgreeArguments {
  std::string key, peer, out;
  int64_t size = 0;  ///< bytes
  std::optional<Wire::Bytes> sharedInfo;
};

struct ExportArguments {
  std::string certificate, out;
};

struct SupportArguments {
  std::string out;   ///< file; empty: none
  bool yes = false;  ///< write it without asking
};

struct LogArguments {
  size_t lines = 20;      ///< of the token log that is there already
  bool follow = true;     ///< until interrupted
  std::string systemLog;  ///< file; empty: the system's own
};

/// Each prints its result to standard output and throws Failure.
void ShowReaders(const Options& options);
void ListItems(const Options& options);
void Sign(const Options& options, const SignArguments& arguments);
void Decrypt(const Options& options, const DecryptArguments& arguments);
void Agree(const Options& options, const AgreeArguments& arguments);
void Export(const Options& options, const ExportArguments& arguments);

/// Prints the token log and the extension's lines of the system log. What is missing and how to turn it on goes to
/// standard error. Throws Failure.
void ShowLog(const Options& options, const LogArguments& arguments);

/// Collects what a help desk asks for, shows it, and writes it when the user agrees. What fails meanwhile is part of
/// the report. Throws Failure.
void Support(const Options& options, const SupportArguments& arguments);

/// Shows readers, tokens and items as cards come and go: redrawn in place on a terminal, a line for each event
/// elsewhere and with --json. Ends when the user types q or a signal asks for it. A token that fails is told of and
/// costs nothing else. Throws Failure.
void Watch(const Options& options);

}  // namespace Host
