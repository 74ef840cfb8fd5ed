#include "tests/integration/RealCard.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tests/integration/OpenSSL.h"

namespace {

void Require(const ChildResult& result, const char* what) {
  if (result.exitStatus != 0) throw std::runtime_error(std::string(what) + ": " + result.output + result.errors);
}

}  // namespace

RealCard::RealCard(const std::vector<std::string>& options, const std::string& pin) {
  std::string name = std::filesystem::temp_directory_path() / "qel-card-XXXXXX";
  if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  m_folder = name;
  std::filesystem::create_directories(m_folder / "home/Documents");
  Write("pin", pin + "\n");
  Write("wrong", "not-" + pin + "\n");
  Write("message", "Pay 100 to the bearer.\n");
  std::vector<std::string> arguments = {"init", "card", "--pin-file", Path("pin")};
  arguments.insert(arguments.end(), options.begin(), options.end());
  if (const char* library = getenv("QEL_TEST_OVER")) arguments.insert(arguments.end(), {"--over", library});
  Require(SoftCard(arguments), "softcard init");
  Require(SoftCard({"insert", "card"}), "softcard insert");
  Require(SoftCard({"trace", "on", Path("trace")}), "softcard trace");
}

RealCard::~RealCard() {
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

ChildEnvironment RealCard::Environment() const {
  // Foundation leaks by design, which is not what is tested here.
  std::string sanitizer = "detect_leaks=0";
  if (const char* more = getenv("ASAN_OPTIONS")) sanitizer += std::string(":") + more;
  // A sanitizer's program that names functions would be a process of the extension's own, which the sandbox refuses.
  std::string threads = "external_symbolizer_path=";
  if (const char* more = getenv("TSAN_OPTIONS")) threads += std::string(":") + more;
  // The readers of this machine are none of the test's, unless the test has a service of its own.
  const char* const service = getenv("PCSCLITE_CSOCK_NAME");
  return {{"HOME", Path("home")},
          {"QEL_SOFTCARD_DIR", Path("cards")},
          {"PCSCLITE_CSOCK_NAME", service ? service : Path("no-service")},
          {"ASAN_OPTIONS", sanitizer},
          {"TSAN_OPTIONS", threads}};
}

ChildResult RealCard::SoftCard(const std::vector<std::string>& arguments) const {
  return RunChild(QEL_SOFTCARD, arguments, Environment());
}

ChildResult RealCard::HostWithPinFile(const std::string& file, const std::vector<std::string>& arguments) const {
  std::vector<std::string> all = {"--pin-file", Path(file), "--timeout", "30"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunChild(QEL_CTKHOST, all, Environment());
}

ChildResult RealCard::Host(const std::vector<std::string>& arguments) const {
  return HostWithPinFile("pin", arguments);
}

ChildResult RealCard::Sign(const std::string& key, const std::string& algorithm, const std::string& pinFile) const {
  return HostWithPinFile(
      pinFile, {"sign", "--key", key, "--algorithm", algorithm, "--in", Path("message"), "--out", Path("signature")});
}

nlohmann::json RealCard::Items() const {
  const ChildResult listed = Host({"list", "--json"});
  Require(listed, "ctkhost list");
  return nlohmann::json::parse(listed.output).at(0).at("items");
}

std::vector<std::string> RealCard::KeyIDs() const {
  std::vector<std::string> identifiers;
  for (const auto& item : Items())
    if (item.at("kind") == "key") identifiers.push_back(item.at("objectID"));
  return identifiers;
}

std::string RealCard::ExportPublicKey(const std::string& key) const {
  std::string certificate = key;
  certificate.at(1) = '1';  // a certificate's identifier differs from its key's in this digit
  Require(Host({"export", "--certificate", certificate, "--out", Path(key + ".cert")}), "ctkhost export");
  const ChildResult read = RunOpenSSL({"x509", "-in", Path(key + ".cert"), "-noout", "-pubkey"});
  Require(read, "openssl x509");
  Write(key + ".pub", read.output);
  return Path(key + ".pub");
}

std::string RealCard::Text(const std::string& file) const {
  std::ostringstream text;
  text << std::ifstream(m_folder / file, std::ios::binary).rdbuf();
  return text.str();
}

void RealCard::Write(const std::string& file, const std::string& text) const {
  std::ofstream(m_folder / file, std::ios::binary) << text;
}
