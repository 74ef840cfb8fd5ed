#import "bundle/app/Registration.h"

#include <QELBuildConstants.h>

QELRegistration QELRegistrationInAnswer(NSString *answer, NSString *identifier) {
  QELRegistration registration = QELRegistrationMissing;
  for (NSString *line in [answer componentsSeparatedByString:@"\n"]) {
    // A mark for the user's election, blanks, the identifier and its version in parentheses.
    if ([line rangeOfString:[identifier stringByAppendingString:@"("]].length == 0) {
      continue;
    }
    if (![line hasPrefix:@"-"]) {
      return QELRegistrationFound;
    }
    registration = QELRegistrationOff;
  }
  return registration;
}

QELRegistration QELRegistrationOfExtension(NSString *identifier) {
  NSTask *task = [[[NSTask alloc] init] autorelease];
  NSPipe *output = [NSPipe pipe];
  NSString *pluginkit = @QEL_PLUGINKIT;
  if (![[NSFileManager defaultManager] isExecutableFileAtPath:pluginkit]) {
    return QELRegistrationUnknown;
  }
  [task setLaunchPath:pluginkit];
  [task setArguments:@[ @"-m", @"-i", identifier ]];
  [task setStandardOutput:output];
  [task setStandardError:[NSFileHandle fileHandleWithNullDevice]];
  [task launch];
  NSData *bytes = [[output fileHandleForReading] readDataToEndOfFile];
  [task waitUntilExit];
  NSString *answer = [[[NSString alloc] initWithData:bytes encoding:NSUTF8StringEncoding] autorelease];
  return answer == nil ? QELRegistrationUnknown : QELRegistrationInAnswer(answer, identifier);
}

NSString *QELContainedExtensionIdentifier(void) {
  NSString *extension = [[[NSBundle mainBundle] builtInPlugInsPath] stringByAppendingPathComponent:@"QELToken.appex"];
  NSString *plist = [extension stringByAppendingPathComponent:@"Contents/Info.plist"];
  return [[NSDictionary dictionaryWithContentsOfFile:plist] objectForKey:@"CFBundleIdentifier"];
}
