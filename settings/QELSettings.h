#pragma once

#import <Foundation/Foundation.h>
#include <iniparser.h>

NS_ASSUME_NONNULL_BEGIN

/// iniparser's error callback: writes the message to the system log. Returns 0.
int log_iniparser_error(const char *format, ...);

/// The settings of two INI files: the user's Library/Preferences/Tarnwell.ini and the machine-wide one of the maker.
/// The user's file wins key by key. Keys are iniparser's: section, colon, key, in any case.
///
/// Nothing here takes a lock: load before other threads look up. Failures are never thrown: a file that is missing or
/// cannot be parsed counts as empty, and what iniparser says about it goes to the system log.
@interface QELSettings : NSObject {
  dictionary *_Nullable m_localIni;   // the user's file, or null; owned
  dictionary *_Nullable m_globalIni;  // the machine-wide file, or null; owned
  BOOL m_loadCalled;
}

/// Returns the one instance of the process, made on first use (on any thread) and not loaded. The process owns it.
+ (QELSettings *)getGlobalSettings;

/// Reads both files. The home directory is the password database's, not HOME; a path of 1024 bytes or more is skipped.
/// Meant to run once: a second run reads again and does not free what the first one read.
- (void)loadSettings;

/// Returns whether loadSettings has run.
- (BOOL)loadCalled;

/// Returns the integer under `key`, or `value` when neither file has the key. Text that is no number reads as 0.
- (int)getInt:(const char *)key notfound:(int)value;

/// Returns the text under `key`, or `value` when neither file has the key; autoreleased. Returns nil when the text is
/// not UTF-8. A key without a value needs a `value` that is not null.
- (nullable NSString *)getString:(const char *)key def:(const char *)value;

/// Returns "Global:LogFile", or the token log's default path; nil when the text is not UTF-8. The token log itself
/// always goes to the default path.
- (nullable NSString *)logPath;

/// Returns whether "Pkcs11:LogLevelPkcs11" is above 0.
- (BOOL)loggingEnabled;

@end

NS_ASSUME_NONNULL_END
