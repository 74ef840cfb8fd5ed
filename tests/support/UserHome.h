#pragma once

#include <string>

/// Makes a new empty folder the home of the current user for its lifetime: in the password database, where the settings
/// are looked for, and in HOME, where the token log goes. The folder has a Documents and a Library/Preferences.
class UserHome {
 public:
  UserHome();
  ~UserHome();
  UserHome(const UserHome&) = delete;
  UserHome& operator=(const UserHome&) = delete;

  const std::string& Path() const { return m_path; }

  /// Writes the user's settings file.
  void WriteSettings(const std::string& text) const;

  /// Returns the token log, empty when there is none.
  std::string TokenLog() const;

 private:
  std::string m_path;
  std::string m_previousHome;
};
