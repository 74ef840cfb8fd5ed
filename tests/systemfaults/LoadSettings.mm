#import "settings/QELSettings.h"
#include "tests/systemfaults/Operations.h"

static QELSettings *s_settings;

void LoadSettings() {
  s_settings = [[QELSettings alloc] init];
  [s_settings loadSettings];
}

std::string LoadedSettings() {
  std::string text = [s_settings loadCalled] ? "loaded" : "not loaded";
  text += [s_settings loggingEnabled] ? ", logging on" : ", logging off";
  [s_settings release];
  s_settings = nil;
  return text;
}
