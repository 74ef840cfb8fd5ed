#include "tests/host/module/ModuleCard.h"

#include <fstream>
#include <stdexcept>

ModuleCard::ModuleCard(const std::string& key)
    : m_card({"--key", key}, Pin()), m_certificate(m_card.Path("certificate.pem")) {
  for (const auto& item : m_card.Items())
    (item["kind"] == "key" ? m_id : m_certificate) = item["objectID"].get<std::string>();
  const std::string certificate = m_certificate;
  m_certificate = m_card.Path("certificate.pem");
  if (m_card.Host({"export", "--certificate", certificate, "--out", m_certificate}).exitStatus != 0)
    throw std::runtime_error("the certificate cannot be exported");
  std::filesystem::create_directory(m_card.Path("service"));
  std::filesystem::permissions(m_card.Path("service"), std::filesystem::perms::owner_all);
  m_service = std::make_unique<BackgroundChild>(
      QEL_CTKHOST, std::vector<std::string>{"module", "--socket", m_card.Path("service/socket")}, m_card.Environment(),
      m_card.Path("service.log"));
  if (!m_service->WaitFor("export PKCS11_MODULE_PATH;\n"))
    throw std::runtime_error("ctkhost module did not come up: " + m_service->Log());
}

pid_t ModuleCard::Extension() const {
  pid_t process = m_service->ProcessId();
  for (int generation = 0; generation < 2; ++generation) {  // the one that serves the application, then its own
    const std::string id = std::to_string(process);
    std::ifstream("/proc/" + id + "/task/" + id + "/children") >> process;
  }
  return process;
}

std::string ModuleCard::KeyUri(const std::string& pin) const {
  std::string id;
  for (size_t i = 0; i < m_id.size(); i += 2) id += "%" + m_id.substr(i, 2);
  return "pkcs11:id=" + id + ";type=private?pin-value=" + pin;
}

ChildEnvironment ModuleCard::Environment() const {
  ChildEnvironment environment = m_card.Environment();
  environment["P11_KIT_SERVER_ADDRESS"] = "unix:path=" + m_card.Path("service/socket");
  environment["PKCS11_MODULE_PATH"] = QEL_P11_KIT_CLIENT;
  return environment;
}

ChildResult ModuleCard::Run(const std::string& program, const std::vector<std::string>& arguments) const {
  return RunChild(program, arguments, Environment());
}
