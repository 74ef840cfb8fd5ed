/// The commands, in the order in which help shows them.

#pragma once

#include "host/base/Options.h"

namespace CLI {
class App;
}

namespace Host {

/// Each adds its command to the command line `app`, with its arguments, help and examples. When the command line names
/// it, it runs with `options`, which outlive `app`: it prints its result to standard output and throws Failure.
void AddReaders(CLI::App& app, const Options& options);
void AddList(CLI::App& app, const Options& options);

/// Shows readers, tokens and items as cards come and go: redrawn in place on a terminal, a line for each event
/// elsewhere and with --json. Ends when the user types q or a signal asks for it. A token that fails is told of and
/// costs nothing else.
void AddWatch(CLI::App& app, const Options& options);

void AddSign(CLI::App& app, const Options& options);
void AddDecrypt(CLI::App& app, const Options& options);
void AddAgree(CLI::App& app, const Options& options);
void AddExport(CLI::App& app, const Options& options);
void AddAgent(CLI::App& app, const Options& options);

/// Serves the cards' keys as a PKCS#11 module to an application that p11-kit connects, until it ends.
void AddModule(CLI::App& app, const Options& options);

/// Prints the token log and the extension's lines of the system log. What is missing and how to turn it on goes to
/// standard error.
void AddLog(CLI::App& app, const Options& options);

/// Collects what a help desk asks for, shows it, and writes it when the user agrees. What fails meanwhile is part of
/// the report.
void AddSupport(CLI::App& app, const Options& options);

}  // namespace Host
