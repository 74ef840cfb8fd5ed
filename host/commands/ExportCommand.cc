#include <memory>

#include "host/commands/Command.h"
#include "host/commands/Commands.h"
#include "host/commands/Results.h"
#include "host/keys/Pem.h"
#include "host/keys/Service.h"

namespace Host {
namespace {

struct ExportArguments {
  std::string certificate, out;
};

void Export(const Options& options, const ExportArguments& arguments) {
  RequireWritable(arguments.out);
  ExtensionProcess process = MakeProcess(options, Waiting::Shown);
  const CardTokens tokens = OpenTokens(options, process);
  const FoundItem found = FindItem(tokens, Wire::Item::Kind::Certificate, arguments.certificate);
  Deliver(options, arguments.out, PemFromCertificate(found.item->certificate), Secrecy::Public);
}

}  // namespace

void AddExport(CLI::App& app, const Options& options) {
  const auto arguments = std::make_shared<ExportArguments>();
  CLI::App* command = AddCommand(app, "export", "Write a certificate as PEM", std::string(kIdentifiers) + kFiles,
                                 "  ctkhost export --certificate 1101 --out certificate.pem\n");
  AddText(command, "--certificate", arguments->certificate, "ID", "The certificate");
  AddText(command, "--out", arguments->out, "FILE", "Where to");
  command->callback([&options, arguments] { Export(options, *arguments); });
}

}  // namespace Host
