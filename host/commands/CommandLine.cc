#include <QELBuildConstants.h>

#include <sstream>

#include "cmake/QELCommit.h"
#include "host/base/Failure.h"
#include "host/base/Output.h"
#include "host/base/Usage.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/terminal/Terminal.h"
#include "softcard/state/Installation.h"

namespace Host {
namespace {

/// Where the extension's bundle stands: build/PRESET for build/PRESET/bin/ctkhost. An installation has a folder for it,
/// and there its own /Library.
std::filesystem::path FolderOfBundle() {
  const std::filesystem::path installed = SoftCard::InstalledFolder();
  if (installed.empty()) return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
  setenv("QEL_LIBRARY_DIR", (installed / "Library").c_str(), 0);
  return installed;
}

/// The command line and what it was read into.
class CommandLine {
 public:
  CommandLine() {
    m_app.get_formatter()->column_width(24);
    m_app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_app.get_formatter()->label("REQUIRED", "(needed)");
    m_app.set_help_flag("-h,--help", "Show options and examples");
    m_app.set_version_flag("--version", std::string("ctkhost " QEL_VERSION " (") + QELCommit + ")",
                           "Print version and commit");
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.option_defaults()->multi_option_policy(
        CLI::MultiOptionPolicy::TakeLast);  // a script's alias can be overruled
    m_app.footer(HelpFooter("",
                            "  ctkhost list                       what is on the cards\n"
                            "  ctkhost watch                      the same, live\n"
                            "  ctkhost --timing list              where the time goes, call by call\n"
                            "  ctkhost sign --help                options and examples of a command\n"));
    AddOptions();
    AddReaders(m_app, m_options);
    AddList(m_app, m_options);
    AddWatch(m_app, m_options);
    AddSign(m_app, m_options);
    AddDecrypt(m_app, m_options);
    AddAgree(m_app, m_options);
    AddExport(m_app, m_options);
    AddAgent(m_app, m_options);
    AddModule(m_app, m_options);
    AddLog(m_app, m_options);
    AddSupport(m_app, m_options);
    for (CLI::App* command : m_app.get_subcommands(nullptr)) command->group("Commands");
  }

  CLI::App& App() { return m_app; }

 private:
  void AddOptions() {
    m_options.extension = FolderOfBundle() / "QELToken.appex";
    m_app.add_option("--extension", m_options.extension, "The extension (default: the one beside this program)")
        ->type_name("BUNDLE");
    m_app.add_option("--pin-file", m_options.pinFile, "PIN in the first line of FILE ('-': standard input)")
        ->type_name("FILE");
    m_app.add_option("--reader", m_options.reader, "Only the card in this reader")->type_name("NAME");
    m_app.add_flag_callback(
        "--no-sandbox", [this] { m_options.sandbox = false; }, "Let the extension open what its entitlements forbid");
    m_app.add_flag("--json", m_options.json, "Print for programs");
    m_app.add_flag("-v,--verbose", m_options.verbose, "Show each request to the extension and its outcome");
    m_app.add_flag("--timing", m_options.timing, "Show where each request's time went, call by call");
    m_app
        .add_option_function<int>(
            "--timeout", [this](int seconds) { m_options.timeout = std::chrono::seconds(seconds); },
            "How long one answer may take, 1 to 3600 (60)")
        ->type_name("SECONDS")
        ->check(Between(1, 3600));
  }

  CLI::App m_app{"Uses the keys of smart cards through the token extension, as applications do.", "ctkhost"};
  Options m_options;
};

/// Prints the help that was asked for. Returns the exit status.
int PrintedHelp(const CLI::App& app, const CLI::ParseError& asked) {
  std::ostringstream text;
  app.exit(asked, text);
  Print(text.str());
  return static_cast<int>(ExitStatus::Done);
}

int ParseAndRun(int argc, char** argv) {
  CommandLine line;
  try {
    line.App().parse(argc, argv);
    return static_cast<int>(ExitStatus::Done);
  } catch (const CLI::ParseError& problem) {
    if (problem.get_exit_code() == 0) return PrintedHelp(line.App(), problem);
    TellUser(UsageText(line.App(), problem));
    return static_cast<int>(ExitStatus::Usage);
  }
}

}  // namespace

int RunCommandLine(int argc, char** argv) {
  try {
    return ParseAndRun(argc, argv);
  } catch (const Failure& failure) {
    if (*failure.what()) TellUser(failure.what());
    return static_cast<int>(failure.Status());
  } catch (const std::exception& problem) {
    TellUser(std::string("this should not happen: ") + problem.what() + "; show a help desk this and the command");
    return static_cast<int>(ExitStatus::Failed);
  }
}

}  // namespace Host
