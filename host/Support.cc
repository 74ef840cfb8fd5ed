#include "host/Support.h"

#include <QELBuildConstants.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <regex>

#include "host/CardSurvey.h"
#include "host/Commands.h"
#include "host/ExtensionSettings.h"
#include "host/Files.h"
#include "host/Listing.h"
#include "host/Service.h"
#include "host/Timing.h"
#include "softcard/Names.h"

namespace Host {
namespace {

constexpr size_t kLogLines = 50;

std::string Section(const std::string& title, const std::string& text) {
  return title + "\n" + (text.empty() ? "  none\n" : text) + "\n";
}

std::string Versions(const Options& options) {
  utsname system{};
  uname(&system);
  std::string text = std::string("  ctkhost ") + QEL_VERSION + "\n  system: " + system.sysname + " " + system.release +
                     " " + system.machine + "\n  extension: " + options.extension + ", version ";
  std::ifstream file(options.extension + "/Contents/Info.plist");
  const std::string plist{std::istreambuf_iterator<char>(file), {}};
  std::smatch version;
  const std::regex pattern("<key>CFBundleShortVersionString</key>\\s*<string>([^<]*)</string>");
  return text + (std::regex_search(plist, version, pattern) ? version[1].str() : "unknown: no Info.plist there") + "\n";
}

std::string Settings() {
  const ExtensionSettings settings = ReadExtensionSettings();
  std::string text;
  for (const Setting& setting : settings.settings)
    text += "  " + setting.key + " = " + setting.value + " (" + setting.origin + ")\n";
  for (const SettingsFile& file : settings.files) {
    using State = SettingsFile::State;
    text += "  " + file.path.string() +
            (file.state == State::Read      ? ": read\n"
             : file.state == State::Missing ? ": missing\n"
                                            : ": not understood, counts as missing\n");
  }
  return text;
}

std::string ReadersSection() {
  try {
    std::string text;
    for (const Reader& reader : Readers())
      text += std::string("  ") + (reader.hasCard ? "card   " : "empty  ") + reader.name + "\n";
    const std::string problem = ServiceProblem();
    return text + (problem.empty() ? "" : "  smart-card service: " + problem + "\n");
  } catch (const Failure& failure) {
    return std::string("  ") + failure.what() + "\n";
  }
}

/// The items of every card's token, with their labels: names of people may be among them.
std::string Published(const Options& options, ExtensionProcess& process) {
  try {
    std::string text;
    for (const auto& token : OpenTokens(options, process))
      text += TokenText(token->Reader(), token->InstanceID(), token->Items());
    return text;
  } catch (const Failure& failure) {
    return std::string("  ") + failure.what() + "\n";
  }
}

std::vector<std::string> TokenLogLines() {
  std::vector<std::string> lines;
  std::ifstream log(TokenLogPath());
  for (std::string line; std::getline(log, line);) lines.push_back(line);
  if (lines.size() > kLogLines) lines.erase(lines.begin(), lines.end() - kLogLines);
  return lines;
}

std::string LastFailingCall(const std::vector<LibraryCall>& calls, const std::vector<std::string>& log) {
  std::string text;
  for (auto call = calls.rbegin(); call != calls.rend(); ++call)
    if (call->result != "CKR_OK") {
      text = "  while this report was made: " + call->name + " => " + call->result + "\n";
      break;
    }
  for (auto line = log.rbegin(); line != log.rend(); ++line)
    if (const std::string call = FailingCallIn(*line); !call.empty())
      return text + "  in the token log: " + call + "\n";
  return text;
}

/// What confines the extension confines the library here, too.
std::vector<SandboxRule> RulesOf(const Options& options) {
  if (!options.sandbox || !Sandbox::IsAvailable()) return {};
  try {
    return RulesFor(options.extension);
  } catch (const Failure&) {
    return {};  // soft cards that are not known: the readers' section says so
  }
}

std::string Report(const Options& options) {
  LibraryTrace trace;
  std::string published;
  {
    ExtensionProcess process = MakeProcess(options, Waiting::Shown);
    published = Published(options, process);
  }
  const std::vector<LibraryCall> calls = trace.NewCalls();
  const std::vector<std::string> log = TokenLogLines();
  std::string logText;
  for (const std::string& line : log) logText += "  " + WithoutSecrets(line) + "\n";
  if (log.empty()) logText = "  " + TokenLogPath().string() + " is missing or empty; 'ctkhost log' says why\n";
  const std::string library = options.extension + "/Contents/Frameworks/libQELTarnwellPkcs11.dylib";
  return Section("Versions", Versions(options)) + Section("Settings", Settings()) +
         Section("Readers", ReadersSection()) + Section("Published items", published) +
         Section("Library, slots and objects, seen without a login", CardSurvey(library, RulesOf(options))) +
         Section("Last failing call", LastFailingCall(calls, log)) + Section("End of the token log", logText);
}

bool Agrees(const std::string& path) {
  if (isatty(STDIN_FILENO) == 0)
    throw Failure(ExitStatus::Usage, "nobody to ask whether to write " + path + "; --yes writes it");
  std::fprintf(stderr, "Write this to %s? [y/N] ", path.c_str());
  std::string answer;
  return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

void ReplaceAll(std::string& text, const std::string& old, const std::string& replacement) {
  if (old.size() < 2) return;
  for (size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + replacement.size()))
    text.replace(at, old.size(), replacement);
}

}  // namespace

std::string FailingCallIn(const std::string& logLine) {
  static const std::regex pattern("(C_[A-Za-z]+)(?:\\(\\))? => 0x([0-9A-Fa-f]{8,16})");
  std::smatch call;
  if (!std::regex_search(logLine, call, pattern)) return {};
  return call[1].str() + " => " + SoftCard::ResultName(std::stoul(call[2].str(), nullptr, 16));
}

std::string WithoutSecrets(const std::string& logLine) {
  static const std::regex named("\\b(pin|puk|password|passphrase|secret)\\b([^A-Za-z0-9]*[:= ][^A-Za-z0-9]*)\\S+",
                                std::regex::icase);
  static const std::regex digits("[0-9A-Fa-f]{32,}");
  return std::regex_replace(std::regex_replace(logLine, named, "$1$2(removed)"), digits, "(removed)");
}

std::string WithoutThePerson(std::string report) {
  const passwd* user = getpwuid(getuid());
  const char* home = std::getenv("HOME");
  if (home) ReplaceAll(report, home, "~");
  if (user) ReplaceAll(report, user->pw_dir, "~");
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  ReplaceAll(report, host, "(this computer)");
  return report;
}

void Support(const Options& options, const SupportArguments& arguments) {
  const std::string report = WithoutThePerson(Report(options));
  std::fputs(report.c_str(), stdout);
  std::fflush(stdout);
  if (arguments.out.empty()) return;
  if (!arguments.yes && !Agrees(arguments.out)) throw Failure(ExitStatus::Cancelled, "nothing was written");
  WriteWholeFile(arguments.out, Wire::Bytes(report.begin(), report.end()), Secrecy::Private);
  std::fprintf(stderr, "ctkhost: wrote %s; read it once more before you send it\n", arguments.out.c_str());
}

}  // namespace Host
