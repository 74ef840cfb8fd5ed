// softcard: makes soft cards and puts them into soft readers.

#include <QELBuildConstants.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "cmake/QELCommit.h"
#include "host/base/CoreDumps.h"
#include "host/base/Usage.h"
#include "softcard/program/Commands.h"
#include "softcard/program/Personalise.h"
#include "softcard/program/PinInput.h"
#include "softcard/program/VirtualCard.h"
#include "softcard/state/Installation.h"

namespace {

using namespace SoftCard;

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kNotFound = 3 };

constexpr char kDefaultReader[] = "QEL Soft Reader 00";

constexpr char kEpilogue[] = R"(
Readers and cards are kept in $QEL_SOFTCARD_DIR, else in qeltoken/softcard of
$XDG_STATE_HOME, which is ~/.local/state by default.

Examples:
  softcard init demo --pin-file pin.txt  RSA-2048, RSA-3072, EC P-256, EC P-384
  softcard init other --over nss         the same, kept by NSS softoken
  softcard init mine --import key.pem,cert.pem
  softcard init old --import certificate=old.pem,label=Old,id=0a
  softcard init pad --pin-pad --slot-type 0x80000002 --key p256
  softcard insert demo                   into the reader "QEL Soft Reader 00"
  softcard pinpad enter --wait 10        types the PIN at a waiting PIN pad
  softcard remove
  softcard trace on calls.txt            all calls, without PINs, keys and data

Exit status: 0 done, 1 failure, 2 usage, 3 no such card or reader, or no login
waits.)";

struct Options {
  CardOrder order;
  std::vector<std::string> imports;
  std::string pinFile;
  std::string card;
  std::string reader = kDefaultReader;
  std::string traceFile;
  std::string library;
  std::string parameters;
  unsigned wait = 0;
  uint16_t port = kVirtualReaderPort;
  bool empty = false;
};

/// The PKCS#11 library of the extension that this program came with.
std::string MakersLibrary() {
  const auto installed = InstalledFolder();
  return installed.empty() ? QEL_SOFTCARD_LIBRARY
                           : installed / "QELToken.appex/Contents/Frameworks/libQELTarnwellPkcs11.dylib";
}

/// A card's name is part of file names.
std::string CheckName(const std::string& name) {
  const bool plain =
      name.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.") == std::string::npos;
  return plain && name.size() <= 28 ? "" : "a card's name is 1 to 28 letters, digits, dots, dashes and underscores";
}

/// KEY.pem[,CERTIFICATE.pem] or parts with names, such as certificate=FILE and label=TEXT.
ImportedKey ParseImport(const std::string& text) {
  ImportedKey import;
  const auto put = [&](const std::string& name, const std::string& value) {
    if (name == "key") import.key = value;
    if (name == "certificate") import.certificate = value;
    if (name == "label") import.label = value;
    if (name == "id") import.identifier = value;
    if (name == "category") import.category = value == "authority" ? kAuthority : kTokenUser;
    const bool known = name == "key" || name == "certificate" || name == "label" || name == "id" ||
                       (name == "category" && (value == "user" || value == "authority"));
    if (!known || value.empty()) throw CLI::ValidationError("--import", "not understood: " + name + "=" + value);
  };
  std::istringstream parts(text);
  size_t plain = 0;
  for (std::string part; std::getline(parts, part, ',');) {
    const auto equals = part.find('=');
    if (equals != std::string::npos)
      put(part.substr(0, equals), part.substr(equals + 1));
    else
      put(plain++ == 0 ? "key" : "certificate", part);
  }
  if (import.key.empty() && import.certificate.empty())
    throw CLI::ValidationError("--import", "names neither a key nor a certificate: " + text);
  return import;
}

void AddPinFile(CLI::App* command, Options& options) {
  command->add_option("--pin-file", options.pinFile, "its first line is the PIN; - for standard input")
      ->type_name("FILE");
}

void AddReader(CLI::App* command, Options& options) {
  command->add_option("--reader", options.reader, "its name (QEL Soft Reader 00)")->type_name("NAME");
}

void AddInit(CLI::App& program, Options& options) {
  auto* const init = program.add_subcommand("init", "make a card, with keys and certificates on it");
  auto& order = options.order;
  init->add_option("CARD", order.card.name, "the new card's name")->required()->type_name("")->check(CheckName);
  init->add_option("--key", order.generate,
                   "key to make on the card, repeatable: rsa2048, rsa3072,\nrsa4096, p256, p384 or p521\n(rsa2048, "
                   "rsa3072, p256 and p384)")
      ->type_name("TYPE")
      ->check(CLI::IsMember({"rsa2048", "rsa3072", "rsa4096", "p256", "p384", "p521"}).description(""))
      ->delimiter(',')
      ->take_all();
  init->add_option("--import", options.imports,
                   "KEY.pem or KEY.pem,CERTIFICATE.pem, repeatable; the key\nas PKCS#8. The demo CA issues a missing "
                   "certificate.\nOr parts with names: key=FILE, certificate=FILE,\nlabel=TEXT, id=HEX, "
                   "category=user or authority")
      ->type_name("FILES")
      ->expected(1)
      ->take_all();
  init->add_flag("--empty", options.empty, "no keys and no certificates")->excludes("--key")->excludes("--import");
  AddPinFile(init, options);
  init->add_option("--serial", order.card.serial, "serial number, up to 16 characters")
      ->type_name("TEXT")
      ->check([](const std::string& serial) { return serial.size() <= 16 ? "" : "at most 16 characters"; });
  init->add_flag("--pin-pad", order.card.pinPad, "the PIN is entered at the reader (softcard pinpad)");
  init->add_option("--slot-type", order.card.slotType, "what C_GetSlotType answers (0x80000001)")->type_name("N");
  init->add_option("--slots", order.slots,
                   "tokens on the card, 1 to 16, one PKCS#11 slot each; the\nkeys are dealt out")
      ->type_name("N")
      ->check(CLI::Range(1, 16).description(""));
  init->add_option("--over", order.over,
                   "softhsm, or nss for NSS softoken: the library that keeps\nthe card, the same for all cards of a "
                   "folder")
      ->type_name("LIBRARY")
      ->check(CLI::IsMember({"softhsm", "nss"}).description(""));
  init->callback([&options] {
    auto& order = options.order;
    for (const auto& files : options.imports) order.import.push_back(ParseImport(files));
    if (order.generate.empty() && order.import.empty() && !options.empty)
      order.generate = {"rsa2048", "rsa3072", "p256", "p384"};
    const Pin pin(options.pinFile, "PIN of the new card: ", true);
    Personalise(StateDirectory(), MakersLibrary(), order, pin.Text());
    std::cout << "made card " << order.card.name << "; softcard insert " << order.card.name
              << " puts it into a reader\n";
  });
}

void AddReaderCommands(CLI::App& program, Options& options) {
  auto* const insert = program.add_subcommand("insert", "put a card into a reader");
  insert->add_option("CARD", options.card)->required()->type_name("");
  AddReader(insert, options);
  insert->callback([&] { Insert(StateDirectory(), options.card, options.reader); });

  auto* const remove = program.add_subcommand("remove", "take the card out of a reader");
  AddReader(remove, options);
  remove->callback([&] { Remove(StateDirectory(), options.reader); });

  auto* const unplug = program.add_subcommand("unplug", "take away an empty reader");
  AddReader(unplug, options);
  unplug->callback([&] { Unplug(StateDirectory(), options.reader); });

  auto* const erase = program.add_subcommand("delete", "forget a card and its keys");
  erase->add_option("CARD", options.card)->required()->type_name("");
  erase->callback([&] { Delete(StateDirectory(), options.card); });

  program.add_subcommand("list", "show readers and cards")->callback([] { std::cout << Listing(StateDirectory()); });

  auto* const unlock = program.add_subcommand("unlock", "give a card's PIN its three tries back");
  unlock->add_option("CARD", options.card)->required()->type_name("");
  unlock->callback([&] { Unlock(StateDirectory(), options.card); });
}

void AddPinPad(CLI::App& program, Options& options) {
  auto* const pinPad = program.add_subcommand("pinpad", "play the PIN pad for a login that waits");
  pinPad->require_subcommand(1);
  auto* const enter = pinPad->add_subcommand("enter", "enter the PIN, asked for on the terminal");
  AddPinFile(enter, options);
  auto* const cancel = pinPad->add_subcommand("cancel", "press the cancel key");
  for (auto* const command : {enter, cancel}) {
    command->add_option("--card", options.card, "which, when several with a PIN pad are inserted")->type_name("CARD");
    command->add_option("--wait", options.wait, "how long to wait for a login (0)")->type_name("SECONDS");
  }
  enter->callback([&] {
    const Pin pin(options.pinFile, "PIN: ", false);
    AnswerWaitingLogin(StateDirectory(), options.card, &pin.Text(), std::chrono::seconds(options.wait));
  });
  cancel->callback(
      [&] { AnswerWaitingLogin(StateDirectory(), options.card, nullptr, std::chrono::seconds(options.wait)); });
}

void AddInstruments(CLI::App& program, Options& options) {
  auto* const trace = program.add_subcommand("trace", "write down the PKCS#11 calls");
  trace->require_subcommand(1);
  auto* const on = trace->add_subcommand("on", "start writing, a line per call");
  on->add_option("FILE", options.traceFile, "by default trace.txt beside the cards")->type_name("");
  on->callback([&] {
    const std::filesystem::path chosen = options.traceFile;
    const auto file = chosen.empty() ? StateDirectory() / "trace.txt" : chosen;
    Update(StateDirectory(), [&](State& state) { state.trace = std::filesystem::absolute(file).string(); });
  });
  trace->add_subcommand("off", "stop writing")->callback([] {
    Update(StateDirectory(), [](State& state) { state.trace.clear(); });
  });

  auto* const beneath = program.add_subcommand("beneath", "choose the PKCS#11 library that does the work");
  beneath->add_option("--library", options.library, "its path; SoftHSM2 when not given")->type_name("FILE");
  beneath->add_option("--parameters", options.parameters, "string that its C_Initialize wants")->type_name("TEXT");
  beneath->callback([&] {
    Update(StateDirectory(), [&](State& state) {
      state.library = options.library;
      state.parameters = options.parameters;
    });
  });
}

void AddVirtual(CLI::App& program, Options& options) {
  auto* const play = program.add_subcommand("virtual", "put a card into pcscd's virtual reader");
  play->add_option("--port", options.port, "where the reader's driver listens (35963; 35964 is the\nsecond reader's)")
      ->type_name("N");
  play->callback([&] {
    PlayVirtualCard(options.port,
                    [] { std::cout << "a card is in the virtual reader; Ctrl-C takes it out" << std::endl; });
    throw std::runtime_error("the virtual reader is gone");
  });
}

void GroupCommands(CLI::App& program) {
  for (CLI::App* command : program.get_subcommands(nullptr)) {
    command->group("Commands");
    GroupCommands(*command);
  }
}

/// The exit status of a command whose result has been printed.
ExitStatus Printed() {
  if (std::cout.flush()) return kDone;
  std::cerr << "softcard: standard output cannot be written\n";
  return kFailed;
}

}  // namespace

int main(int argc, char** argv) {
  Host::ForbidCoreDumps();  // a crash must not leave a PIN in a file
  CLI::App program("Soft cards for development, demonstration and tests. They protect nothing.", "softcard");
  program.footer(kEpilogue);
  program.get_formatter()->column_width(24);
  program.get_formatter()->label("SUBCOMMAND", "COMMAND");
  program.get_formatter()->label("REQUIRED", "(needed)");
  program.set_version_flag("--version", std::string("softcard " QEL_VERSION " (") + QELCommit + ")",
                           "Print version and commit");
  program.require_subcommand(1);
  Options options;
  AddInit(program, options);
  AddReaderCommands(program, options);
  AddPinPad(program, options);
  AddInstruments(program, options);
  AddVirtual(program, options);
  GroupCommands(program);
  try {
    program.parse(argc, argv);
    return Printed();
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) {
      std::cerr << "softcard: " << Host::UsageText(program, error) << "\n";
      return kUsage;
    }
    program.exit(error);
    return Printed();
  } catch (const NotFound& error) {
    std::cerr << "softcard: " << error.what() << "\n";
    return kNotFound;
  } catch (const std::exception& error) {
    std::cerr << "softcard: " << error.what() << "\n";
    return kFailed;
  }
}
