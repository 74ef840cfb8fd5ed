#include <dlfcn.h>
#include <iconv.h>
#include <os/log.h>
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cwchar>

#include "QELBuildConstants.h"
#include "tests/macprobe/Check.h"

namespace probe {

namespace {

/// What the system's converter does with a wide Greek letter that ISO 8859-1 lacks.
std::string Unwritable() {
  const iconv_t converter = iconv_open("ISO-8859-1", "UTF-32LE");
  if (converter == reinterpret_cast<iconv_t>(-1)) return "no such conversion";
  wchar_t letter = 0x3A9;
  char* from = reinterpret_cast<char*>(&letter);
  size_t remaining = sizeof letter;
  char written[8] = {};
  char* to = written;
  size_t room = sizeof written;
  const size_t count = iconv(converter, &from, &remaining, &to, &room);
  const int error = errno;
  iconv_close(converter);
  if (count == static_cast<size_t>(-1)) return error == EILSEQ ? "fails" : "fails with errno " + std::to_string(error);
  return count > 0 ? "substitutes and counts" : std::string("substitutes silently: ") + written;
}

/// The same for bytes that are no UTF-8.
std::string Unreadable() {
  const iconv_t converter = iconv_open("UTF-32LE", "UTF-8");
  if (converter == reinterpret_cast<iconv_t>(-1)) return "no such conversion";
  char bytes[] = "a\xFF";
  char* from = bytes;
  size_t remaining = 2;
  wchar_t written[4] = {};
  char* to = reinterpret_cast<char*>(written);
  size_t room = sizeof written;
  const size_t count = iconv(converter, &from, &remaining, &to, &room);
  const int error = errno;
  iconv_close(converter);
  return count == static_cast<size_t>(-1) && error == EILSEQ && remaining == 1 ? "fails at the byte" : "goes on";
}

std::string LocaleOfNoShell() {
  for (const char* name : {"LANG", "LC_ALL", "LC_CTYPE"}) unsetenv(name);
  const char* locale = std::setlocale(LC_ALL, "");
  return locale == nullptr ? "none" : locale;
}

std::string ThreadNumber() {
  uint64_t mine = 0;
  uint64_t again = 0;
  const int result = pthread_threadid_np(pthread_self(), &mine);
  pthread_threadid_np(pthread_self(), &again);
  return result == 0 && mine != 0 && mine == again ? "the thread's own" : "result " + std::to_string(result);
}

std::string MissingLibrary() {
  void* library = dlopen("/nonexistent/library.dylib", RTLD_LAZY | RTLD_LOCAL);
  return library == nullptr && dlerror() != nullptr ? "refused with a reason" : "otherwise";
}

std::string ErrorsAreLogged() {
  return os_log_type_enabled(OS_LOG_DEFAULT, OS_LOG_TYPE_ERROR) ? "yes" : "no";
}

bool InSandbox() {
  return getenv("APP_SANDBOX_CONTAINER_ID") != nullptr;
}

bool InContainer(const char* path) {
  return path != nullptr && std::string(path).find("/Library/Containers/") != std::string::npos;
}

std::string HomeInTheSandbox() {
  if (!InSandbox()) return "";
  return InContainer(getenv("HOME")) ? "the container" : "elsewhere";
}

std::string PasswordDatabaseInTheSandbox() {
  if (!InSandbox()) return "";
  const passwd* entry = getpwuid(getuid());
  if (entry == nullptr) return "no entry";
  return InContainer(entry->pw_dir) ? "the container" : "the real home";
}

/// Whether a file that an entitlement grants may be read, where it exists.
std::string GrantedFile(const char* path) {
  if (!InSandbox()) return "";
  if (access(path, R_OK) == 0) return "may be read";
  return errno == ENOENT ? "" : "errno " + std::to_string(errno);
}

}  // namespace

std::vector<Check> SystemChecks() {
  return {
      {"system.what-the-target-lacks", "fails|substitutes and counts", nullptr,
       "what a log cannot hold would turn into question marks instead of escapes", Unwritable},
      {"system.bytes-that-are-no-text", "fails at the byte", nullptr, "such bytes would be lost instead of escaped",
       Unreadable},
      {"system.locale-of-no-shell", "C", nullptr, "the token log would be written with that locale's letters",
       LocaleOfNoShell},
      {"system.wide-letters", "4 bytes", nullptr, "no text could be converted",
       +[] { return std::to_string(sizeof(wchar_t)) + " bytes"; }},
      {"system.thread-number", "the thread's own", nullptr, "the token log would name wrong threads", ThreadNumber},
      {"system.missing-library", "refused with a reason", nullptr, "the reason would be missing in the log",
       MissingLibrary},
      {"system.errors-are-logged", "yes", nullptr, "failures would not appear in the system log", ErrorsAreLogged},
      {"sandbox.home", "the container", nullptr, "the token log would lie elsewhere, or nowhere", HomeInTheSandbox},
      {"sandbox.password-database", "the real home", nullptr, "the user's settings file would not be found",
       PasswordDatabaseInTheSandbox},
      {"sandbox.machine-wide-settings", "may be read", nullptr, "the machine-wide settings would have no effect",
       +[] { return GrantedFile(QEL_LIBRARY_DIR "/Preferences/" QEL_VENDOR_ID ".Tarnwell.ini"); }},
      {"sandbox.pin-dialog", "may be read", nullptr, "no card would work",
       +[] { return GrantedFile(QEL_LIBRARY_DIR "/Frameworks/QELPINDialog.framework/QELPINDialog"); }},
  };
}

}  // namespace probe
