#include "tests/support/UserHome.h"

#include <dlfcn.h>
#include <pwd.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>

UserHome::UserHome() {
  std::string path = (std::filesystem::temp_directory_path() / "qel-home-XXXXXX").string();
  m_path = mkdtemp(path.data());
  std::filesystem::create_directories(m_path + "/Documents");
  std::filesystem::create_directories(m_path + "/Library/Preferences");
  const char* home = getenv("HOME");
  m_previousHome = home != nullptr ? home : "";
  setenv("HOME", m_path.c_str(), 1);
}

UserHome::~UserHome() {
  setenv("HOME", m_previousHome.c_str(), 1);
  std::filesystem::remove_all(m_path);
}

void UserHome::WriteSettings(const std::string& text) const {
  std::ofstream(m_path + "/Library/Preferences/Tarnwell.ini") << text;
}

std::string UserHome::TokenLog() const {
  std::ifstream file(m_path + "/Documents/QELToken.log");
  return {std::istreambuf_iterator<char>(file), {}};
}

// The test program's definition wins over the system's: the home folder is HOME's, also in a child of the test.
extern "C" passwd* getpwuid(uid_t uid) {
  using GetpwuidFn = passwd* (*)(uid_t);
  static const auto real = reinterpret_cast<GetpwuidFn>(dlsym(RTLD_NEXT, "getpwuid"));
  passwd* entry = real(uid);
  if (char* home = getenv("HOME"); entry != nullptr && home != nullptr) entry->pw_dir = home;
  return entry;
}
