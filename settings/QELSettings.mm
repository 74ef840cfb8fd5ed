#import "settings/QELSettings.h"

#include <QELBuildConstants.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdarg>
#include <string>

#include "log/DefaultLogPath.h"
#import "settings/SystemLog.h"

namespace {

constexpr size_t kMaxPathSize = 1024;
constexpr char kUserFile[] = "/Library/Preferences/Tarnwell.ini";

/// Returns the path of the user's file; empty when the password database does not know the user.
std::string UserFilePath() {
  const passwd *user = getpwuid(getuid());
  return user ? std::string(user->pw_dir) + kUserFile : std::string();
}

/// A section is an entry without a value in iniparser's dictionary, and its name may read like a key. Its number and
/// text readers follow the null pointer.
bool HasValue(const dictionary *file, const char *key) {
  return iniparser_getstring(file, key, nullptr) != nullptr;
}

}  // namespace

int log_iniparser_error(const char *format, ...) {
  va_list arguments;
  va_start(arguments, format);
  NSString *text = [NSString stringWithUTF8String:format];
  if (text != nil) {
    QELWriteToSystemLog(text, arguments);
  }
  va_end(arguments);
  return 0;
}

@implementation QELSettings

+ (QELSettings *)getGlobalSettings {
  static QELSettings *const settings = [[QELSettings alloc] init];
  return settings;
}

- (void)dealloc {
  iniparser_freedict(m_localIni);
  iniparser_freedict(m_globalIni);
  [super dealloc];
}

- (void)loadSettings {
  iniparser_set_error_callback(log_iniparser_error);
  const std::string userFile = UserFilePath();
  if (!userFile.empty() && userFile.size() < kMaxPathSize) {
    m_localIni = iniparser_load(userFile.c_str());
  }
  m_globalIni = iniparser_load(QEL_IN_LIBRARY("/Preferences/" QEL_VENDOR_ID ".Tarnwell.ini"));
  m_loadCalled = YES;
}

- (BOOL)loadCalled {
  return m_loadCalled;
}

/// The file that answers for `key`: the user's when it has the key, otherwise the machine-wide one; null when that is
/// missing.
- (nullable const dictionary *)fileFor:(const char *)key {
  return iniparser_find_entry(m_localIni, key) ? m_localIni : m_globalIni;
}

- (int)getInt:(const char *)key notfound:(int)value {
  const dictionary *file = [self fileFor:key];
  return HasValue(file, key) ? iniparser_getint(file, key, value) : value;
}

- (nullable NSString *)getString:(const char *)key def:(const char *)value {
  const dictionary *file = [self fileFor:key];
  const char *text = HasValue(file, key) ? iniparser_getstring(file, key, value) : value;
  return [[[NSString alloc] initWithUTF8String:text] autorelease];
}

- (nullable NSString *)logPath {
  return [self getString:"Global:LogFile" def:QELTok::DefaultLogPath().c_str()];
}

- (BOOL)loggingEnabled {
  return [self getInt:"Pkcs11:LogLevelPkcs11" notfound:0] > 0;
}

@end
