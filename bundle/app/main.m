// The containing app: installing it registers the extension, opening it says so. `--status` prints the same and opens
// no window, for scripts and for the account that runs the login window.
#import <AppKit/AppKit.h>
#include <stdio.h>
#include <string.h>

#import "bundle/app/Registration.h"

static NSString *StatusText(NSString *identifier, QELRegistration registration) {
  if (identifier == nil) {
    return @"This copy of the app does not contain the extension. Install the app again.";
  }
  switch (registration) {
    case QELRegistrationFound:
      return [NSString stringWithFormat:@"The extension %@ is registered.", identifier];
    case QELRegistrationMissing:
      return [NSString stringWithFormat:@"The extension %@ is not registered. Move the app to the Applications folder "
                                        @"and open it again.",
                                        identifier];
    case QELRegistrationUnknown:
      break;
  }
  return [NSString stringWithFormat:@"The system did not say whether the extension %@ is registered.", identifier];
}

static void ShowWindow(NSString *status) {
  [[NSApplication sharedApplication] setActivationPolicy:NSApplicationActivationPolicyRegular];
  [NSApp activateIgnoringOtherApps:YES];
  NSAlert *alert = [[[NSAlert alloc] init] autorelease];
  [alert setMessageText:@"QELToken makes the certificates and keys of your smart card available to applications."];
  [alert setInformativeText:status];
  [alert runModal];
}

int main(int argc, const char **argv) {
  int result = 0;
  @autoreleasepool {
    NSString *identifier = QELContainedExtensionIdentifier();
    QELRegistration registration = identifier ? QELRegistrationOfExtension(identifier) : QELRegistrationMissing;
    NSString *status = StatusText(identifier, registration);
    if (argc > 1 && strcmp(argv[1], "--status") == 0) {
      printf("%s\n", [status UTF8String]);
    } else {
      ShowWindow(status);
    }
    result = registration == QELRegistrationFound ? 0 : 1;
  }
  return result;
}
