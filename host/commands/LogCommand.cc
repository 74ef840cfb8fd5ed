#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>

#include "host/base/Failure.h"
#include "host/base/Output.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/SystemLog.h"
#include "host/terminal/TerminalText.h"
#include "report/ExtensionSettings.h"
#include "report/Unreadable.h"

namespace Host {
namespace {

struct LogArguments {
  size_t lines = 20;      ///< of the token log that is there already
  bool follow = true;     ///< until interrupted
  std::string systemLog;  ///< file; empty: the system's own
};

std::string HowToTurnOn(const Report::ExtensionSettings& settings) {
  std::string text = "  The log is off. To turn it on, put this into " + settings.files.at(0).path.string() +
                     ":\n\n"
                     "      [Pkcs11]\n"
                     "      LogLevelPkcs11 = 1\n\n"
                     "  It counts from the next start of the extension; every ctkhost command starts one.\n";
  for (const Report::SettingsFile& file : settings.files) {
    if (file.state == Report::SettingsFile::State::NotUnderstood)
      text += "  " + file.path.string() + (file.line == 0 ? "" : ", line " + std::to_string(file.line) + ",") +
              " is not understood and counts as missing; correct it.\n";
    if (file.state == Report::SettingsFile::State::Unreadable)
      text += "  " + file.path.string() + " cannot be read (" + file.problem + ") and counts as missing.\n";
  }
  return text;
}

/// Where the token log is and, when it is not written, what to do.
std::string TokenLogState(const std::filesystem::path& log) {
  std::error_code ignored;
  const std::string problem = Report::WhyUnreadable(log);
  const bool exists = std::filesystem::exists(log, ignored);
  std::string text = "Token log: " + log.string() +
                     (!problem.empty() ? " (cannot be read: " + problem + ")\n"
                      : exists         ? "\n"
                                       : " (not there yet)\n");
  const Report::ExtensionSettings settings = Report::ReadExtensionSettings();
  if (!settings.IsTokenLogOn()) text += HowToTurnOn(settings);
  if (problem.empty() && !std::filesystem::is_directory(log.parent_path(), ignored))
    text += "  The folder " + log.parent_path().string() + " is missing and the log does not make it; make it.\n";
  return text;
}

std::string SystemLogState(const SystemLog& log) {
  if (!log.command.empty()) return "System log: the journal\n";
  if (!log.file.empty()) return "System log: " + log.file.string() + "\n";
  return "System log: none on this machine.\n"
         "  QEL_OS_LOG_STDERR=1 shows its lines on the standard error of other ctkhost commands.\n";
}

void Tell(const std::string& text) {
  std::fputs(text.c_str(), stderr);
}

void PrintLast(const std::vector<std::string>& lines, size_t count) {
  std::string text;
  for (size_t i = lines.size() - std::min(count, lines.size()); i < lines.size(); ++i) text += lines[i] + "\n";
  Print(LinesForTerminal(text));
}

void PrintSystemLines(FollowedLog* log) {
  if (!log) return;
  std::string text;
  for (const std::string& line : log->NewLines())
    if (IsFromExtension(line)) text += "system: " + line + "\n";
  Print(LinesForTerminal(text));
}

void ShowLog(const LogArguments& arguments) {
  const std::filesystem::path path = Report::TokenLogPath();
  SystemLog systemLog = FindSystemLog();
  if (!arguments.systemLog.empty()) systemLog = {{}, arguments.systemLog};
  Tell(TokenLogState(path) + SystemLogState(systemLog));

  FollowedFile tokenLog(path);
  PrintLast(tokenLog.NewLines(), arguments.lines);
  if (!arguments.follow) return;
  const std::unique_ptr<FollowedLog> system = Follow(systemLog);
  if (!systemLog.file.empty()) system->NewLines();  // what other programs said before is no news
  Tell("Following; Ctrl-C ends.\n");
  while (true) {
    pollfd waiting[] = {{tokenLog.Descriptor(), POLLIN, 0}, {system ? system->Descriptor() : -1, POLLIN, 0}};
    if (poll(waiting, 2, -1) < 0 && errno != EINTR) return;
    if (waiting[0].revents != 0) PrintLast(tokenLog.NewLines(), SIZE_MAX);
    if (waiting[1].revents != 0) PrintSystemLines(system.get());
  }
}

}  // namespace

void AddLog(CLI::App& app, const Options&) {
  const auto arguments = std::make_shared<LogArguments>();
  CLI::App* command = AddCommand(app, "log", "Follow the token log and the system log's lines", "",
                                 "  ctkhost log\n"
                                 "  ctkhost log --no-follow --lines 100\n");
  command->add_option("--lines", arguments->lines, "How many lines of the token log to begin with (20)")
      ->type_name("N");
  command->add_flag_callback(
      "--no-follow", [arguments] { arguments->follow = false; }, "End after what is there");
  command->add_option("--system-log", arguments->systemLog, "Where syslog writes, when not found by itself")
      ->type_name("FILE");
  command->callback([arguments] { ShowLog(*arguments); });
}

}  // namespace Host
