#include "tests/host/FakeCard.h"

#include <stdlib.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "softcard/state/State.h"

namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

}  // namespace

FakeCard::FakeCard() {
  std::string name = std::filesystem::temp_directory_path() / "qel-host-XXXXXX";
  if (!mkdtemp(name.data())) throw std::runtime_error("no temporary folder");
  m_folder = name;
  SoftCard::Update(m_folder / "cards", [](SoftCard::State& state) {
    state.readers = {{"Empty Reader", "", 0}, {"Test Reader", "card", 1}};
    SoftCard::Card card;
    card.name = "card";
    card.tokens.resize(1);
    card.tokens[0].triesLeft = 2;
    state.cards = {card};
  });
  Write("pin", "1234\n");
  Write("message", "hello");
}

FakeCard::~FakeCard() {
  std::filesystem::remove_all(m_folder);
}

void FakeCard::Script(const std::string& call, const std::vector<std::string>& lines) const {
  std::ofstream out(m_folder / call);
  for (const std::string& line : lines) out << line << "\n";
}

void FakeCard::Write(const std::string& file, const std::string& text) const {
  std::ofstream(m_folder / file) << text;
}

std::string FakeCard::Text(const std::string& file) const {
  std::ostringstream text;
  text << std::ifstream(m_folder / file).rdbuf();
  return text.str();
}

std::vector<std::string> FakeCard::Calls() const {
  std::vector<std::string> names;
  for (const std::string& line : LinesOf(Text("calls"))) names.push_back(line.substr(0, line.find(' ')));
  return names;
}

std::string FakeCard::CallLine(const std::string& call) const {
  for (const std::string& line : LinesOf(Text("calls")))
    if (line.rfind(call + " ", 0) == 0) return line;
  return "";
}

ChildResult FakeCard::Host(std::vector<std::string> arguments) const {
  std::vector<std::string> all = {"--extension", QEL_FAKE_BUNDLE, "--pin-file", Path("pin"), "--timeout", "2"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunChild(QEL_CTKHOST, all, Environment());
}

ChildEnvironment FakeCard::Environment() const {
  return {{"FAKE_EXTENSION", m_folder.string()},
          {"QEL_SOFTCARD_DIR", Path("cards")},
          {"PCSCLITE_CSOCK_NAME", Path("no-service")}};
}

std::vector<std::string> FakeCard::SignArguments(const std::string& key) const {
  return {"--extension",      QEL_FAKE_BUNDLE, "sign",          "--key", key,        "--algorithm",
          "rsa-pkcs1-sha256", "--in",          Path("message"), "--out", Path("out")};
}

ChildResult FakeCard::Sign(const std::string& key) const {
  const std::vector<std::string> arguments = SignArguments(key);
  return Host({arguments.begin() + 2, arguments.end()});
}
