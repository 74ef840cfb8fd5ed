#include "host/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>

#include "host/Commands.h"
#include "host/Failure.h"
#include "host/SignatureNames.h"
#include "host/Terminal.h"
#include "host/agent/Serve.h"
#include "platform/wire/Hex.h"

namespace Host {
namespace {

/// build/PRESET/QELToken.appex for build/PRESET/bin/ctkhost.
std::string BundleBesideThisProgram() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  return program.parent_path().parent_path() / "QELToken.appex";
}

constexpr char kExitStatus[] =
    "Exit status: 0 done, 1 failure, 2 usage, 3 no reader, card or token, 4 no such\n"
    "key or not supported, 5 wrong or locked PIN, 6 cancelled.";

/// What follows the options in a command's help. `notes` and `examples` are whole lines.
std::string Footer(const std::string& notes, const std::string& examples) {
  return notes + (notes.empty() ? "" : "\n") + "Examples:\n" + examples + "\n" + kExitStatus;
}

constexpr char kMoreOptions[] =
    "'ctkhost --help' has the options that every command takes: --pin-file, --reader,\n"
    "--json and more; they may stand anywhere.\n";

std::string FooterOfCommand(const std::string& notes, const std::string& examples) {
  return Footer(notes + kMoreOptions, examples);
}

constexpr char kIdentifiers[] = "ID is an item's identifier in hexadecimal, as 'list' prints it, or its label.\n";

std::string AlgorithmNotes() {
  std::string text = "Algorithms:", line;
  for (const std::string& name : SignatureNames()) {
    if (name.rfind("-sha256") == name.size() - 7 || line.empty()) {
      text += line;
      line = "\n ";
    }
    line += " " + name;
  }
  return text + line + "\n" + kIdentifiers;
}

std::string WhyNoSignature(const std::string& name) {
  const auto names = SignatureNames();
  return std::find(names.begin(), names.end(), name) != names.end() ? "" : "there is no algorithm '" + name + "'";
}

/// What is wrong with a command line that cannot be read, and where to look.
std::string UsageText(const CLI::App& app, const CLI::ParseError& problem) {
  std::string text = problem.what(), program = "ctkhost";
  for (const CLI::App* command : app.get_subcommands()) program += " " + command->get_name();
  if (app.get_subcommands().empty()) {
    const auto rest = app.remaining();
    const auto word = std::find_if(rest.begin(), rest.end(), [](auto& argument) { return argument.front() != '-'; });
    if (problem.get_name() == "RequiredError") text = "which command?";
    if (word != rest.end()) text = "there is no command '" + *word + "'";
  }
  text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
  return text + (text.back() == '?' ? " '" : "; '") + program + " --help' shows " +
         (app.get_subcommands().empty() ? "them" : "how to use it");
}

/// The command line and what it was read into.
class CommandLine {
 public:
  CommandLine() {
    m_app.get_formatter()->column_width(24);
    m_app.get_formatter()->label("SUBCOMMAND", "COMMAND");
    m_app.get_formatter()->label("REQUIRED", "(needed)");
    m_app.set_help_flag("-h,--help", "Show options and examples");
    m_app.require_subcommand(1);
    m_app.fallthrough();
    m_app.option_defaults()->multi_option_policy(
        CLI::MultiOptionPolicy::TakeLast);  // a script's alias can be overruled
    m_app.footer(Footer("",
                        "  ctkhost list                       what is on the cards\n"
                        "  ctkhost watch                      the same, live\n"
                        "  ctkhost --timing list              where the time goes, call by call\n"
                        "  ctkhost sign --help                options and examples of a command\n"));
    AddOptions();
    AddSimple("readers", "Show the readers", ShowReaders,
              "  ctkhost readers\n"
              "  ctkhost --json readers\n");
    AddSimple("list", "List the certificates and keys on the cards", ListItems,
              "  ctkhost list\n"
              "  ctkhost --reader 'QEL Soft Reader 00' --json list\n");
    AddSimple("watch", "Show readers, tokens and items live (q ends)", Watch,
              "  ctkhost watch                      on a terminal, redrawn in place\n"
              "  ctkhost --json watch | my-program  an event per line\n");
    AddSign();
    AddDecrypt();
    AddAgree();
    AddExport();
    AddAgent();
    AddLog();
    AddSupport();
    for (CLI::App* command : m_app.get_subcommands(nullptr)) command->group("Commands");
  }

  CLI::App& App() { return m_app; }

 private:
  void AddOptions() {
    m_options.extension = BundleBesideThisProgram();
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
        ->check(CLI::Range(1, 3600).description(""));
  }

  void AddSimple(const char* name, const char* help, void (*run)(const Options&), const char* examples) {
    m_app.add_subcommand(name, help)->footer(FooterOfCommand("", examples))->callback([this, run] { run(m_options); });
  }

  void AddSign() {
    CLI::App* command = m_app.add_subcommand("sign", "Sign a file");
    AddText(command, "--key", m_sign.key, "ID", "The key that signs");
    AddText(command, "--algorithm", m_sign.algorithm, "NAME", "One of those below")
        ->check(CLI::Validator(WhyNoSignature, ""));
    AddText(command, "--in", m_sign.in, "FILE", "The message");
    AddText(command, "--out", m_sign.out, "FILE", "The signature");
    command->footer(FooterOfCommand(AlgorithmNotes(),
                                    "  ctkhost sign --key 1201 --algorithm rsa-pss-sha256 \\\n"
                                    "    --in letter.txt --out letter.sig\n"
                                    "  ctkhost --pin-file pin.txt sign --key 'My key' \\\n"
                                    "    --algorithm ecdsa-sha256 --in letter.txt --out letter.sig\n"));
    command->callback([this] { Sign(m_options, m_sign); });
  }

  void AddDecrypt() {
    CLI::App* command = m_app.add_subcommand("decrypt", "Decrypt what was encrypted with RSA PKCS#1 v1.5");
    AddText(command, "--key", m_decrypt.key, "ID", "The key that decrypts");
    AddText(command, "--in", m_decrypt.in, "FILE", "The ciphertext");
    AddText(command, "--out", m_decrypt.out, "FILE", "The plaintext");
    command->footer(FooterOfCommand(kIdentifiers, "  ctkhost decrypt --key 1201 --in letter.enc --out letter.txt\n"));
    command->callback([this] { Decrypt(m_options, m_decrypt); });
  }

  void AddAgree() {
    CLI::App* command = m_app.add_subcommand("agree", "Agree a secret (X9.63 derivation over SHA-1)");
    AddText(command, "--key", m_agree.key, "ID", "The key on the card");
    AddText(command, "--peer", m_agree.peer, "PUBLIC.pem", "The other party's public key");
    command->add_option("--size", m_agree.size, "Length of the secret in bytes")
        ->type_name("N")
        ->required()
        ->check(CLI::Range(1, 65536));
    command
        ->add_option_function<std::string>(
            "--shared-info",
            [this](const std::string& hex) {
              m_agree.sharedInfo = Wire::FromHex(hex);
              if (!m_agree.sharedInfo) throw CLI::ValidationError("--shared-info", "not hexadecimal: " + hex);
            },
            "What both parties know, in hexadecimal")
        ->type_name("HEX");
    AddText(command, "--out", m_agree.out, "FILE", "The secret");
    command->footer(
        FooterOfCommand(kIdentifiers, "  ctkhost agree --key 1202 --peer theirs.pem --size 32 --out secret.bin\n"));
    command->callback([this] { Agree(m_options, m_agree); });
  }

  void AddExport() {
    CLI::App* command = m_app.add_subcommand("export", "Write a certificate as PEM");
    AddText(command, "--certificate", m_export.certificate, "ID", "The certificate");
    AddText(command, "--out", m_export.out, "FILE", "Where to");
    command->footer(FooterOfCommand(kIdentifiers, "  ctkhost export --certificate 1101 --out certificate.pem\n"));
    command->callback([this] { Export(m_options, m_export); });
  }

  void AddAgent() {
    CLI::App* command = m_app.add_subcommand("agent", "Serve SSH clients with the cards' keys until interrupted");
    command->add_option("--socket", m_agent.socket, "Where to listen (a socket in a new folder)")->type_name("PATH");
    command->add_flag("--always-ask", m_agent.alwaysAsk, "Log in for each signature, not once for each card");
    command->footer(FooterOfCommand("",
                                    "  ctkhost agent --socket ~/.ssh/card.sock\n"
                                    "  SSH_AUTH_SOCK=~/.ssh/card.sock ssh-add -L\n"));
    command->callback([this] { ServeAgent(m_options, m_agent); });
  }

  void AddLog() {
    CLI::App* command = m_app.add_subcommand("log", "Follow the token log and the system log's lines");
    command->add_option("--lines", m_log.lines, "How many lines of the token log to begin with (20)")->type_name("N");
    command->add_flag_callback(
        "--no-follow", [this] { m_log.follow = false; }, "End after what is there");
    command->add_option("--system-log", m_log.systemLog, "Where syslog writes, when not found by itself")
        ->type_name("FILE");
    command->footer(FooterOfCommand("",
                                    "  ctkhost log\n"
                                    "  ctkhost log --no-follow --lines 100\n"));
    command->callback([this] { ShowLog(m_options, m_log); });
  }

  void AddSupport() {
    CLI::App* command = m_app.add_subcommand("support", "Collect what a help desk asks for; needs no PIN");
    command->add_option("--out", m_support.out, "Write the report there, after it was shown")->type_name("FILE");
    command->add_flag("--yes", m_support.yes, "Write it without asking");
    command->footer(FooterOfCommand("",
                                    "  ctkhost support\n"
                                    "  ctkhost support --out report.txt\n"));
    command->callback([this] { Support(m_options, m_support); });
  }

  static CLI::Option* AddText(CLI::App* command, const char* name, std::string& value, const char* type,
                              const char* help) {
    return command->add_option(name, value, help)->type_name(type)->required();
  }

  CLI::App m_app{"Uses the keys of smart cards through the token extension, as applications do.", "ctkhost"};
  Options m_options;
  SignArguments m_sign;
  DecryptArguments m_decrypt;
  AgreeArguments m_agree;
  ExportArguments m_export;
  AgentArguments m_agent;
  LogArguments m_log;
  SupportArguments m_support;
};

}  // namespace

int RunCommandLine(int argc, char** argv) {
  CommandLine line;
  try {
    line.App().parse(argc, argv);
    return static_cast<int>(ExitStatus::Done);
  } catch (const CLI::ParseError& problem) {
    if (problem.get_exit_code() == 0) return line.App().exit(problem);  // prints the help that was asked for
    TellUser(UsageText(line.App(), problem));
    return static_cast<int>(ExitStatus::Usage);
  } catch (const Failure& failure) {
    TellUser(failure.what());
    return static_cast<int>(failure.Status());
  }
}

}  // namespace Host
