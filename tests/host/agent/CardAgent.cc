#include "tests/host/agent/CardAgent.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace {

std::vector<std::string> KeyOptions(const std::vector<std::string>& keys) {
  std::vector<std::string> options;
  for (const std::string& key : keys) options.insert(options.end(), {"--key", key});
  return options;
}

}  // namespace

CardAgent::CardAgent(const std::vector<std::string>& keys, Pin pin, const std::vector<std::string>& options)
    : m_card(KeyOptions(keys)) {
  std::filesystem::create_directory(m_card.Path("agent"));
  std::filesystem::permissions(m_card.Path("agent"), std::filesystem::perms::owner_all);
  OnAsking("cat '" + m_card.Path("pin") + "'");
  ChildEnvironment environment = m_card.Environment();
  environment["SSH_ASKPASS"] = m_card.Path("askpass");
  environment["SSH_ASKPASS_REQUIRE"] = "force";
  // Freed memory is to be used again, or the process would seem to grow. The agent has no Foundation, and no leaks: its
  // exit status tells.
  *environment["ASAN_OPTIONS"] += ":quarantine_size_mb=1:detect_leaks=1";
  std::vector<std::string> arguments = {"agent", "--socket", Socket()};
  if (pin == Pin::File) arguments.insert(arguments.end(), {"--pin-file", m_card.Path("pin")});
  arguments.insert(arguments.end(), options.begin(), options.end());
  m_process = std::make_unique<BackgroundChild>(QEL_CTKHOST, arguments, environment, m_card.Path("agent.log"));
  if (!m_process->WaitFor("SSH_AUTH_SOCK='" + Socket() + "'; export SSH_AUTH_SOCK;\n"))
    throw std::runtime_error("the agent did not come up: " + m_process->Log());
}

CardAgent::~CardAgent() {
  m_process->Stop();
}

void CardAgent::OnAsking(const std::string& script) const {
  m_card.Write("askpass", "#!/bin/sh\necho \"$1\" >> '" + m_card.Path("asked") + "'\n" + script + "\n");
  std::filesystem::permissions(m_card.Path("askpass"), std::filesystem::perms::owner_all);
}

long CardAgent::TimesAsked() const {
  const std::string lines = m_card.Text("asked");
  return std::count(lines.begin(), lines.end(), '\n');
}

ChildResult CardAgent::Run(const std::string& program, const std::vector<std::string>& arguments) const {
  ChildEnvironment environment = m_card.Environment();
  environment["SSH_AUTH_SOCK"] = Socket();
  environment["GIT_CONFIG_GLOBAL"] = "/dev/null";
  environment["GIT_CONFIG_NOSYSTEM"] = "1";
  return RunChild(program, arguments, environment);
}

std::vector<std::string> CardAgent::Keys() const {
  const ChildResult listed = Run(QEL_SSH_ADD, {"-L"});
  if (listed.exitStatus != 0) throw std::runtime_error("ssh-add -L: " + listed.output + listed.errors);
  std::vector<std::string> lines;
  std::istringstream text(listed.output);
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> CardAgent::KeyFiles() const {
  std::vector<std::string> files;
  for (const std::string& line : Keys()) {
    const std::string name = "key" + std::to_string(files.size()) + ".pub";
    m_card.Write(name, line + "\n");
    files.push_back(m_card.Path(name));
  }
  return files;
}

std::vector<Ssh::Bytes> CardAgent::KeyBlobs() const {
  const auto answer = AgentClient(Socket()).Ask({11});
  if (!answer) throw std::runtime_error("the agent lists no keys");
  Ssh::Parser parser(*answer);
  parser.Byte();
  std::vector<Ssh::Bytes> blobs(parser.Uint32());
  for (Ssh::Bytes& blob : blobs) {
    blob = parser.String();
    parser.String();
  }
  return blobs;
}

Ssh::Bytes SignRequest(const Ssh::Bytes& key, const std::string& data, uint32_t flags) {
  return Ssh::Writer().Byte(13).String(key).String(data).Uint32(flags).Take();
}

void Settle(AgentClient& client) {
  // All are served in turn, and this one twice.
  for (int i = 0; i < 2; ++i)
    if (!client.Ask({11})) throw std::runtime_error("the agent does not answer");
}

bool IsSigned(const std::optional<Ssh::Bytes>& answer) {
  return answer && !answer->empty() && answer->front() == 14;
}
