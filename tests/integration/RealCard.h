#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

/// A soft card in a reader of its own, in a folder of its own that is also the user's home. Removed at the end. It is
/// over SoftHSM2, or over what QEL_TEST_OVER says, as `softcard init --over` has it. The card's PIN is
/// `Pin()` unless another is given; the file "pin" holds it, the file "wrong" another.
class RealCard {
 public:
  /// `options` are those of `softcard init`, such as "--key" and "p256". Throws std::runtime_error when it fails.
  explicit RealCard(const std::vector<std::string>& options, const std::string& pin = Pin());
  ~RealCard();
  RealCard(const RealCard&) = delete;
  RealCard& operator=(const RealCard&) = delete;

  /// Longer than what an allocator overwrites of memory that is freed.
  static std::string Pin() { return "long-canary-5318-9046-2271-8835-6017-4492-7350"; }

  ChildResult SoftCard(const std::vector<std::string>& arguments) const;
  /// With the right PIN.
  ChildResult Host(const std::vector<std::string>& arguments) const;
  ChildResult HostWithPinFile(const std::string& file, const std::vector<std::string>& arguments) const;
  /// Signs "message" into "signature".
  ChildResult Sign(const std::string& key, const std::string& algorithm, const std::string& pinFile = "pin") const;

  /// What `list --json` prints: the items of the one token.
  nlohmann::json Items() const;
  /// The identifiers of the keys, in the token's order.
  std::vector<std::string> KeyIDs() const;
  /// The identifier of the only key.
  std::string KeyID() const { return KeyIDs().at(0); }
  /// Writes the public key of `key`, taken from the exported certificate, to a PEM file. Returns its path.
  std::string ExportPublicKey(const std::string& key) const;

  std::string Path(const std::string& file) const { return m_folder / file; }
  bool Has(const std::string& file) const { return std::filesystem::exists(m_folder / file); }
  std::string Text(const std::string& file) const;
  void Write(const std::string& file, const std::string& text) const;
  const std::filesystem::path& Folder() const { return m_folder; }

  /// What the programs of this card run with.
  ChildEnvironment Environment() const;

 private:
  std::filesystem::path m_folder;
};
