#include "tests/app/AppUnderTest.h"

#include <math.h>
#include <stdlib.h>
#include <unistd.h>

#include <set>

#import "bundle/app/Application.h"
#import "bundle/app/RowView.h"
#import "platform/src/service/SmartCardService.h"

namespace {

/// Nothing is written below the home folder. Foundation's libraries have read the environment already, so the program
/// starts again with another.
__attribute__((constructor)) void LeaveTheHomeFolderAlone(int, char **arguments) {
  if (getenv("GNUSTEP_CONFIG_FILE") == nullptr) {
    setenv("GNUSTEP_CONFIG_FILE", QEL_GNUSTEP_CONF, 1);
    execv("/proc/self/exe", arguments);
  }
}

template <class View, class Visit>
void VisitViews(NSView *view, Class kind, Visit visit) {
  if ([view isKindOfClass:kind]) {
    visit((View *)view);
  }
  for (NSView *inside in [view subviews]) {
    VisitViews<View>(inside, kind, visit);
  }
}

std::string Utf8(NSString *text) {
  return text ? [text UTF8String] : "";
}

CGFloat WidthOf(NSString *word, NSFont *font) {
  return [word sizeWithAttributes:@{NSFontAttributeName : font}].width;
}

}  // namespace

AppUnderTest::AppUnderTest(const std::map<std::string, std::optional<std::string>> &environment) {
  for (const auto &[name, value] : environment) {
    value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
  }
  NSApplication *application = QELMakeApplication();
  [application finishLaunching];
  // What -run does next, and does not return from.
  [[application delegate]
      applicationDidFinishLaunching:[NSNotification notificationWithName:@"NSApplicationDidFinishLaunching"
                                                                  object:nil]];
  Run(0.5);
  for (NSWindow *window in [application windows]) {
    if ([[window title] isEqual:@"QELToken"] && [window isVisible] && [window contentView] != nil &&
        ([window styleMask] & NSWindowStyleMaskResizable) != 0) {
      m_window = [window retain];
    }
  }
}

AppUnderTest::~AppUnderTest() {
  [[NSApp delegate] applicationWillTerminate:[NSNotification notificationWithName:@"" object:nil]];
  [m_window release];
  [QELSmartCardService end];
}

void AppUnderTest::Run(double seconds) const {
  NSDate *end = [NSDate dateWithTimeIntervalSinceNow:seconds];
  while ([end timeIntervalSinceNow] > 0) {
    NSEvent *event = [NSApp nextEventMatchingMask:NSAnyEventMask
                                        untilDate:[NSDate dateWithTimeIntervalSinceNow:0.02]
                                           inMode:NSDefaultRunLoopMode
                                          dequeue:YES];
    if (event != nil) {
      [NSApp sendEvent:event];
    }
  }
}

std::vector<std::string> AppUnderTest::Texts() const {
  std::vector<std::string> texts;
  VisitViews<NSTextField>([m_window contentView], [NSTextField class],
                          [&](NSTextField *field) { texts.push_back(Utf8([field stringValue])); });
  return texts;
}

std::vector<std::string> AppUnderTest::Buttons() const {
  std::vector<std::string> titles;
  VisitViews<NSButton>([m_window contentView], [NSButton class],
                       [&](NSButton *button) { titles.push_back(Utf8([button title])); });
  return titles;
}

std::vector<std::string> AppUnderTest::SpokenRows() const {
  std::vector<std::string> rows;
  VisitViews<QELRowView>([m_window contentView], [QELRowView class],
                         [&](QELRowView *row) { rows.push_back(Utf8([(id)row accessibilityLabel])); });
  return rows;
}

std::vector<std::string> AppUnderTest::CutOff() const {
  std::vector<std::string> cut;
  VisitViews<NSTextField>([m_window contentView], [NSTextField class], [&](NSTextField *field) {
    const NSRect frame = [field frame];
    NSScrollView *scroll = [field enclosingScrollView];
    NSView *document = [scroll documentView];
    const NSRect inDocument = [document convertRect:[field bounds] fromView:field];
    // At the least the lines that the text's width makes; breaks between words only add some.
    const CGFloat width = WidthOf([field stringValue], [field font]);
    const CGFloat needed = ceil(width / NSWidth(frame)) * [[field font] pointSize];
    if (needed > NSHeight(frame) || !NSContainsRect([document bounds], inDocument) ||
        NSWidth([document frame]) > [scroll contentSize].width) {
      cut.push_back(Utf8([field stringValue]));
    }
    for (NSString *word in [[field stringValue] componentsSeparatedByString:@" "]) {
      if (WidthOf(word, [field font]) > NSWidth(frame) && NSHeight(frame) < 2 * [[field font] pointSize]) {
        cut.push_back(Utf8(word));
      }
    }
  });
  VisitViews<NSButton>([m_window contentView], [NSButton class], [&](NSButton *button) {
    if (!NSContainsRect([[m_window contentView] bounds], [button frame]) ||
        WidthOf([button title], [button font]) > NSWidth([button frame])) {
      cut.push_back(Utf8([button title]));
    }
  });
  return cut;
}

size_t AppUnderTest::TakePicture(const std::string &name) const {
  NSView *content = [m_window contentView];
  [m_window display];
  Run(0.1);
  [content lockFocus];
  NSBitmapImageRep *picture = [[[NSBitmapImageRep alloc] initWithFocusedViewRect:[content bounds]] autorelease];
  [content unlockFocus];
  NSData *png = [picture representationUsingType:NSPNGFileType properties:@{}];
  NSString *folder = @QEL_PICTURES;
  [[NSFileManager defaultManager] createDirectoryAtPath:folder
                            withIntermediateDirectories:YES
                                             attributes:nil
                                                  error:NULL];
  NSString *file = [NSString stringWithFormat:@"%s.png", name.c_str()];
  [png writeToFile:[folder stringByAppendingPathComponent:file] atomically:YES];
  std::set<std::string> colours;
  for (NSInteger y = 0; y < [picture pixelsHigh]; ++y) {
    for (NSInteger x = 0; x < [picture pixelsWide]; ++x) {
      NSUInteger pixel[5] = {};
      [picture getPixel:pixel atX:x y:y];
      colours.insert({static_cast<char>(pixel[0]), static_cast<char>(pixel[1]), static_cast<char>(pixel[2])});
    }
  }
  return colours.size();
}
