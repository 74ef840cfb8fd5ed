#pragma once

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/ChildProcess.h"
#include "tests/support/TemporaryDirectory.h"

/// A home folder of a user of its own, also in the password database of programs that run in its environment.
class UserHome {
 public:
  UserHome() {
    std::filesystem::create_directories(m_folder.Path() / "home/Documents");
    std::filesystem::create_directories(m_folder.Path() / "home/Library/Preferences");
    const std::string ids = std::to_string(getuid()) + ":" + std::to_string(getgid());
    std::ofstream(m_folder.Path() / "passwd")
        << "user:x:" << ids << ":user:" << (m_folder.Path() / "home").string() << ":/bin/sh\n";
    std::ofstream(m_folder.Path() / "group") << "group:x:" << getgid() << ":\n";
  }

  std::string Path(const std::string& file) const { return m_folder.Path() / "home" / file; }
  std::string LogPath() const { return Path("Documents/QELToken.log"); }
  void Append(const std::string& file, const std::string& text) const {
    std::ofstream(Path(file), std::ios::app) << text;
  }
  void TurnTokenLogOn() const { Append("Library/Preferences/Tarnwell.ini", "[Pkcs11]\nLogLevelPkcs11 = 1\n"); }

  ChildEnvironment Environment() const {
    return {{"HOME", m_folder.Path() / "home"},
            {"LD_PRELOAD", NSS_WRAPPER_LIBRARY},
            {"NSS_WRAPPER_PASSWD", m_folder.Path() / "passwd"},
            {"NSS_WRAPPER_GROUP", m_folder.Path() / "group"},
            {"NSS_WRAPPER_DISABLE_DEEPBIND", "1"},
            {"ASAN_OPTIONS", "detect_leaks=0:verify_asan_link_order=0"}};
  }

 private:
  TemporaryDirectory m_folder;
};
