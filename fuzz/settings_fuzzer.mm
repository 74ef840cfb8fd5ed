// A settings file of any content, and the questions that the product asks.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/testing/SystemLog.h"
#import "settings/QELSettings.h"
#include "tests/support/UserHome.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const UserHome home;
  home.WriteSettings(std::string(data, data + size));
  const SystemLog::Captured systemLog;
  @autoreleasepool {
    QELSettings *settings = [[[QELSettings alloc] init] autorelease];
    [settings loadSettings];
    if (![settings loadCalled]) std::abort();
    const int level = [settings getInt:"Pkcs11:LogLevelPkcs11" notfound:0];
    if (([settings loggingEnabled] != NO) != (level > 0)) std::abort();
    [settings logPath];
    [settings getString:"a:b" def:"value"];
    [settings getString:"a" def:"value"];
  }
  return 0;
}
