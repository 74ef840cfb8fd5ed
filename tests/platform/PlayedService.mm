#include "tests/platform/PlayedService.h"

#include <stdlib.h>

#include <fstream>

#import "platform/src/service/SmartCardService.h"

namespace {

constexpr char kScript[] = "#!/bin/sh\n"
                           "cd \"$(dirname \"$0\")\"\n"
                           "case \"$*\" in\n"
                           "  '--json readers') cat readers ;;\n"
                           "  '--json watch') exec tail -n +1 -f events ;;\n"
                           "  *) exit 2 ;;\n"
                           "esac\n";

constexpr char kPlist[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>\n"
                          "<key>CFBundleDisplayName</key><string>Played</string>\n"
                          "<key>NSExtension</key><dict><key>NSExtensionAttributes</key><dict>\n"
                          "<key>com.apple.ctk.class-id</key><string>com.example.played</string>\n"
                          "</dict></dict></dict></plist>\n";

}  // namespace

PlayedService::PlayedService(const std::string &readers, const std::string &events) {
  const auto &folder = m_folder.Path();
  std::filesystem::create_directories(folder / "bin");
  std::filesystem::create_directories(folder / "QELToken.appex/Contents");
  std::ofstream(folder / "QELToken.appex/Contents/Info.plist") << kPlist;
  std::ofstream(folder / "bin/readers") << readers;
  std::ofstream(folder / "bin/events") << events;
  const auto program = folder / "bin/ctkhost";
  std::ofstream(program) << kScript;
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  setenv("QEL_CTKHOST", program.c_str(), 1);
}

PlayedService::~PlayedService() {
  unsetenv("QEL_CTKHOST");
  [QELSmartCardService end];
}

void PlayedService::Tell(const std::string &events) const {
  std::ofstream(m_folder.Path() / "bin/events", std::ios::app) << events;
}

@implementation ChangeCounter

@synthesize count = m_count;

- (instancetype)initWithObject:(NSObject *)object key:(NSString *)key {
  self = [super init];
  if (self != nil) {
    m_object = [object retain];
    m_key = [key copy];
    [object addObserver:self forKeyPath:key options:0 context:nullptr];
  }
  return self;
}

- (void)dealloc {
  [m_object removeObserver:self forKeyPath:m_key];
  [m_object release];
  [m_key release];
  [super dealloc];
}

- (void)observeValueForKeyPath:(NSString *)key
                      ofObject:(id)object
                        change:(NSDictionary *)change
                       context:(void *)context {
  (void)key, (void)object, (void)change, (void)context;
  ++m_count;
}

@end
