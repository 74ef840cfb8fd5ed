#include "tests/app/AppUnderTest.h"

#include <math.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
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

DarkColours::DarkColours() {
  [NSColor controlTextColor];  // fills the list
  NSColorList *colours = [NSColorList colorListNamed:@"System"];
  for (NSString *name in [colours allKeys]) {
    [m_light setObject:[colours colorWithKey:name] forKey:name];
    const bool isText = [name hasSuffix:@"TextColor"] || [name hasSuffix:@"textColor"] || [name hasSuffix:@"abelColor"];
    const bool isEdge = [name rangeOfString:@"hadow"].length > 0 || [name rangeOfString:@"ighlight"].length > 0;
    const CGFloat white = isText ? 0.9 : isEdge ? 0.5 : 0.15;
    [colours setColor:[NSColor colorWithCalibratedWhite:white alpha:1] forKey:name];
  }
  [[NSNotificationCenter defaultCenter] postNotificationName:NSSystemColorsDidChangeNotification object:nil];
}

DarkColours::~DarkColours() {
  for (NSString *name in m_light) {
    [[NSColorList colorListNamed:@"System"] setColor:[m_light objectForKey:name] forKey:name];
  }
  [[NSNotificationCenter defaultCenter] postNotificationName:NSSystemColorsDidChangeNotification object:nil];
  [m_light release];
}

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
                         [&](QELRowView *row) { rows.push_back(Utf8([(id)row accessibilityValue])); });
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

void AppUnderTest::Press(unichar key) const {
  NSString *character = [NSString stringWithCharacters:&key length:1];
  [m_window sendEvent:[NSEvent keyEventWithType:NSKeyDown
                                             location:NSZeroPoint
                                        modifierFlags:0
                                            timestamp:0
                                         windowNumber:[m_window windowNumber]
                                              context:nil
                                           characters:character
                          charactersIgnoringModifiers:character
                                            isARepeat:NO
                                              keyCode:0]];
}

NSBitmapImageRep *AppUnderTest::Picture() const {
  NSView *content = [m_window contentView];
  [m_window display];
  Run(0.1);
  [content lockFocus];
  NSBitmapImageRep *picture = [[[NSBitmapImageRep alloc] initWithFocusedViewRect:[content bounds]] autorelease];
  [content unlockFocus];
  return picture;
}

std::vector<std::string> AppUnderTest::HardToRead() const {
  constexpr NSUInteger kContrast = 100;  // of 255
  NSBitmapImageRep *picture = Picture();
  std::vector<std::string> hard;
  VisitViews<NSTextField>([m_window contentView], [NSTextField class], [&](NSTextField *field) {
    const NSRect place = [[m_window contentView] convertRect:[field visibleRect] fromView:field];
    NSUInteger darkest = 255, brightest = 0;
    for (NSInteger y = [picture pixelsHigh] - NSMaxY(place); y < [picture pixelsHigh] - NSMinY(place); ++y) {
      for (NSInteger x = NSMinX(place); x < NSMaxX(place); ++x) {
        NSUInteger pixel[5] = {};
        [picture getPixel:pixel atX:x y:y];
        darkest = std::min({darkest, pixel[0], pixel[1], pixel[2]});
        brightest = std::max({brightest, pixel[0], pixel[1], pixel[2]});
      }
    }
    if (brightest < darkest + kContrast) {
      hard.push_back(Utf8([field stringValue]));
    }
  });
  return hard;
}

size_t AppUnderTest::TakePicture(const std::string &name) const {
  NSBitmapImageRep *picture = Picture();
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
