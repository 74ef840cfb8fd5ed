#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

/// A folder with a soft reader that has a card, and the scripted extension that answers for it. Removed at the end.
class FakeCard {
 public:
  FakeCard();
  ~FakeCard();
  FakeCard(const FakeCard&) = delete;
  FakeCard& operator=(const FakeCard&) = delete;

  /// What `call` does: a line for each time, the last line for all times after.
  void Script(const std::string& call, const std::vector<std::string>& lines) const;
  void Write(const std::string& file, const std::string& text) const;

  /// The names of the calls that came, in their order. The last is "left" once the extension ended by itself.
  std::vector<std::string> Calls() const;
  /// The line of `calls` that begins with `call`, or nothing.
  std::string CallLine(const std::string& call) const;

  std::string Path(const std::string& file) const { return m_folder / file; }
  bool Has(const std::string& file) const { return std::filesystem::exists(m_folder / file); }
  std::string Text(const std::string& file) const;

  /// Runs ctkhost with the PIN file "pin" and the scripted extension.
  ChildResult Host(std::vector<std::string> arguments) const;
  /// `ctkhost sign` with `key` and rsa-pkcs1-sha256 over "message", into "out".
  ChildResult Sign(const std::string& key = "first") const;
  /// The arguments of that command, to run it another way.
  std::vector<std::string> SignArguments(const std::string& key = "first") const;
  ChildEnvironment Environment() const;

 private:
  std::filesystem::path m_folder;
};
