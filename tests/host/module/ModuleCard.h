#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/integration/RealCard.h"
#include "tests/support/ChildProcess.h"

/// A soft card whose keys `ctkhost module` serves to other programs.
class ModuleCard {
 public:
  explicit ModuleCard(const std::string& key);

  /// Short enough for OpenSSL's engine, which takes 32 characters.
  static std::string Pin() { return "canary-7350-2271"; }

  const RealCard& Card() const { return m_card; }
  /// The key's identifier as a PKCS#11 URI has it, with the PIN.
  std::string KeyUri(const std::string& pin = Pin()) const;
  /// The certificate of the key, in PEM.
  std::string CertificateFile() const { return m_certificate; }
  /// What programs need to find the module.
  ChildEnvironment Environment() const;
  ChildResult Run(const std::string& program, const std::vector<std::string>& arguments) const;
  /// Ends `ctkhost module`.
  void StopService() const { m_service->Stop(); }
  /// The extension's process for the only application.
  pid_t Extension() const;
  /// What `ctkhost module` said on standard error, and on standard output.
  std::string Log() const { return m_service->Log(); }

 private:
  RealCard m_card;
  std::string m_id;
  std::string m_certificate;
  std::unique_ptr<BackgroundChild> m_service;
};
