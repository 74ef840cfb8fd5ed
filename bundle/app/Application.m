#import "bundle/app/Application.h"

#import "bundle/app/StatusWindow.h"

@interface QELApplicationDelegate : NSObject <NSApplicationDelegate> {
  QELStatusWindow *m_window;
}
@end

@implementation QELApplicationDelegate

- (void)applicationDidFinishLaunching:(NSNotification *)notification {
  (void)notification;
  m_window = [[QELStatusWindow alloc] init];
  [m_window show];
  [NSApp activateIgnoringOtherApps:YES];
}

- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication *)application {
  (void)application;
  return YES;
}

- (void)applicationWillTerminate:(NSNotification *)notification {
  (void)notification;
  [m_window release];
  m_window = nil;
}

- (void)refresh:(id)sender {
  [m_window refresh:sender];
}

- (void)saveSupportReport:(id)sender {
  [m_window saveSupportReport:sender];
}

@end

static NSMenu *Submenu(NSMenu *bar, NSString *title) {
  NSMenu *menu = [[[NSMenu alloc] initWithTitle:title] autorelease];
  [[bar addItemWithTitle:title action:NULL keyEquivalent:@""] setSubmenu:menu];
  return menu;
}

/// Whoever comes first in the chain of responders and answers to an action gets it: the window's own, then the app's.
static NSMenu *MainMenu(void) {
  NSMenu *bar = [[[NSMenu alloc] initWithTitle:@"QELToken"] autorelease];
  NSMenu *app = Submenu(bar, @"QELToken");
  [app addItemWithTitle:NSLocalizedString(@"About QELToken", @"a menu item")
                 action:@selector(orderFrontStandardAboutPanel:)
          keyEquivalent:@""];
  [app addItemWithTitle:NSLocalizedString(@"Hide QELToken", @"a menu item") action:@selector(hide:) keyEquivalent:@"h"];
  [app addItemWithTitle:NSLocalizedString(@"Quit QELToken", @"a menu item")
                 action:@selector(terminate:)
          keyEquivalent:@"q"];
  NSMenu *file = Submenu(bar, NSLocalizedString(@"File", @"a menu"));
  [file addItemWithTitle:NSLocalizedString(@"Save Support Report...", @"a button")
                  action:@selector(saveSupportReport:)
           keyEquivalent:@"s"];
  NSMenu *edit = Submenu(bar, NSLocalizedString(@"Edit", @"a menu"));
  [edit addItemWithTitle:NSLocalizedString(@"Copy", @"a menu item") action:@selector(copy:) keyEquivalent:@"c"];
  NSMenu *view = Submenu(bar, NSLocalizedString(@"View", @"a menu"));
  [view addItemWithTitle:NSLocalizedString(@"Check Again", @"a button") action:@selector(refresh:) keyEquivalent:@"r"];
  NSMenu *window = Submenu(bar, NSLocalizedString(@"Window", @"a menu"));
  [window addItemWithTitle:NSLocalizedString(@"Close", @"a menu item")
                    action:@selector(performClose:)
             keyEquivalent:@"w"];
  return bar;
}

NSApplication *QELMakeApplication(void) {
  static QELApplicationDelegate *delegate = nil;
  NSApplication *application = [NSApplication sharedApplication];
  if (delegate == nil) {
    delegate = [[QELApplicationDelegate alloc] init];
  }
  [application setDelegate:delegate];
  [application setMainMenu:MainMenu()];
  return application;
}
