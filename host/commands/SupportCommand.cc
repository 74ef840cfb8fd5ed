#include <QELBuildConstants.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <regex>

#include "cmake/QELCommit.h"
#include "host/base/Files.h"
#include "host/base/Output.h"
#include "host/commands/CardSurvey.h"
#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/FollowedLog.h"
#include "host/commands/Listing.h"
#include "host/extension/Timing.h"
#include "host/keys/ListedItems.h"
#include "host/keys/Service.h"
#include "host/terminal/JsonText.h"
#include "host/terminal/TerminalText.h"
#include "report/ExtensionSettings.h"
#include "report/LogTail.h"
#include "report/Redaction.h"

namespace Host {
namespace {

struct SupportArguments {
  std::string out;   ///< file; empty: none
  bool yes = false;  ///< write it without asking
};

/// A part of the report, as it may be shown.
struct Section {
  Section(std::string title, const std::string& text)
      : title(std::move(title)), text(LinesForTerminal(Report::WithoutThePerson(text))) {}

  std::string title;
  std::string text;  ///< whole lines
};
using Sections = std::vector<Section>;

std::string TextOf(const Sections& sections) {
  std::string text;
  for (const Section& section : sections)
    text += section.title + "\n" + (section.text.empty() ? "  none\n" : section.text) + "\n";
  return text;
}

std::string JsonOf(const Sections& sections) {
  nlohmann::json described = nlohmann::json::array();
  for (const Section& section : sections)
    described.push_back({{"section", section.title}, {"lines", LineBuffer().Add(section.text)}});
  return JsonText(described, 2) + "\n";
}

std::string Versions(const Options& options) {
  utsname system{};
  uname(&system);
  std::string text = std::string("  ctkhost " QEL_VERSION " (") + QELCommit + ")\n  system: " + system.sysname + " " +
                     system.release + " " + system.machine + "\n  extension: " + options.extension + ", version ";
  std::ifstream file(options.extension + "/Contents/Info.plist");
  const std::string plist{std::istreambuf_iterator<char>(file), {}};
  std::smatch version;
  const std::regex pattern("<key>CFBundleShortVersionString</key>\\s*<string>([^<]*)</string>");
  return text + (std::regex_search(plist, version, pattern) ? version[1].str() : "unknown: no Info.plist there") + "\n";
}

std::string StateText(const Report::SettingsFile& file) {
  const std::string line = file.line == 0 ? "" : " (line " + std::to_string(file.line) + ")";
  switch (file.state) {
    case Report::SettingsFile::State::Read:
      return "read";
    case Report::SettingsFile::State::Missing:
      return "missing";
    case Report::SettingsFile::State::Unreadable:
      return "cannot be read (" + file.problem + "), counts as missing";
    case Report::SettingsFile::State::NotUnderstood:
      break;
  }
  return "not understood" + line + ", counts as missing";
}

std::string Settings() {
  const Report::ExtensionSettings settings = Report::ReadExtensionSettings();
  std::string text;
  for (const Report::Setting& setting : settings.settings)
    text += "  " + setting.key + " = " + Report::WithoutSecrets(setting.value) + " (" + setting.origin + ")\n";
  for (const Report::SettingsFile& file : settings.files)
    text += "  " + file.path.string() + ": " + StateText(file) + "\n";
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
      text += TokenText(token->Reader(), token->InstanceID(), ListedItems(*token));
    return text;
  } catch (const Failure& failure) {
    return std::string("  ") + failure.what() + "\n";
  }
}

std::string LastFailingCall(const std::vector<LibraryCall>& calls, const Report::LogTail& log) {
  std::string text;
  for (auto call = calls.rbegin(); call != calls.rend(); ++call)
    if (call->result != "CKR_OK") {
      text = "  while this report was made: " + call->name + " => " + call->result + "\n";
      break;
    }
  return log.lastFailingCall.empty() ? text : text + "  in the token log: " + log.lastFailingCall + "\n";
}

/// What confines the extension confines the library here, too.
std::string Survey(const Options& options) {
  const std::string library = options.extension + "/Contents/Frameworks/libQELTarnwellPkcs11.dylib";
  try {
    const bool confined = options.sandbox && Sandbox::IsAvailable();
    return CardSurvey(library, confined ? RulesFor(options.extension) : std::vector<SandboxRule>(), options.timeout);
  } catch (const Failure& failure) {
    return std::string("  not asked: ") + failure.what() + "\n";
  }
}

Sections WholeReport(const Options& options) {
  LibraryTrace trace;
  std::string published;
  {
    ExtensionProcess process = MakeProcess(options, Waiting::Shown);
    published = Published(options, process);
  }
  const std::vector<LibraryCall> calls = trace.NewCalls();
  const Report::LogTail log = Report::ReadLogTail(Report::TokenLogPath());
  std::string logText;
  for (const std::string& line : log.lines) logText += "  " + line + "\n";
  if (log.lines.empty())
    logText = "  " + Report::TokenLogPath().string() +
              (log.problem.empty() ? " is missing or empty; 'ctkhost log' says why\n"
                                   : " cannot be read: " + log.problem + "\n");
  return {{"Versions", Versions(options)},
          {"Settings", Settings()},
          {"Readers", ReadersSection()},
          {"Published items", published},
          {"Library, slots and objects, seen without a login", Survey(options)},
          {"Last failing call", LastFailingCall(calls, log)},
          {"End of the token log", logText}};
}

bool Agrees(const std::string& path) {
  if (isatty(STDIN_FILENO) == 0)
    throw Failure(ExitStatus::Usage, "nobody to ask whether to write " + path + "; --yes writes it");
  std::fprintf(stderr, "Write this to %s? [y/N] ", path.c_str());
  std::string answer;
  return std::getline(std::cin, answer) && (answer == "y" || answer == "Y" || answer == "yes");
}

void Support(const Options& options, const SupportArguments& arguments) {
  const Sections sections = WholeReport(options);
  const std::string report = options.json ? JsonOf(sections) : TextOf(sections);
  Print(report);
  if (arguments.out.empty() || IsStandardOutput(arguments.out)) return;
  if (!arguments.yes && !Agrees(arguments.out)) throw Failure(ExitStatus::Cancelled, "nothing was written");
  WriteWholeFile(arguments.out, Wire::Bytes(report.begin(), report.end()), Secrecy::Private);
  std::fprintf(stderr, "ctkhost: wrote %s; read it once more before you send it\n", arguments.out.c_str());
}

}  // namespace

void AddSupport(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<SupportArguments>();
  CLI::App* command = AddCommand(app, "support", "Collect what a help desk asks for; needs no PIN", "",
                                 "  ctkhost support\n"
                                 "  ctkhost support --out report.txt\n");
  command->add_option("--out", arguments->out, "Write the report there, after it was shown")->type_name("FILE");
  command->add_flag("--yes", arguments->yes, "Write it without asking");
  command->callback([&options, arguments] { Support(options, *arguments); });
}

}  // namespace Host
