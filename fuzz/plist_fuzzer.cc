// An Info.plist of any content: refused with a reason, or both names are there.

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "platform/src/Foundation/ExtensionBundle.h"
#include "platform/testing/SystemLog.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string path = FUZZ_FOLDER "/Info.plist";
  const SystemLog::Captured systemLog;
  std::ofstream(path) << std::string(data, data + size);
  try {
    const ExtensionBundle bundle = ExtensionBundle::OfThisProgram();
    if (bundle.driverClass.empty() || bundle.classID.empty()) std::abort();
  } catch (const ExtensionBundleError& error) {
    if (std::string(error.what()).find("Info.plist") == std::string::npos) std::abort();
  }
  return 0;
}
