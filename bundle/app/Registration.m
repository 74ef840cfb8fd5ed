#import "bundle/app/Registration.h"

QELRegistration QELRegistrationOfExtension(NSString *identifier) {
  NSTask *task = [[[NSTask alloc] init] autorelease];
  NSPipe *output = [NSPipe pipe];
  [task setExecutableURL:[NSURL fileURLWithPath:@"/usr/bin/pluginkit"]];
  [task setArguments:@[ @"-m", @"-i", identifier ]];
  [task setStandardOutput:output];
  [task setStandardError:[NSFileHandle fileHandleWithNullDevice]];
  if (![task launchAndReturnError:NULL]) {
    return QELRegistrationUnknown;
  }
  NSData *bytes = [[output fileHandleForReading] readDataToEndOfFile];
  [task waitUntilExit];
  NSString *text = [[[NSString alloc] initWithData:bytes encoding:NSUTF8StringEncoding] autorelease];
  return [text containsString:identifier] ? QELRegistrationFound : QELRegistrationMissing;
}

NSString *QELContainedExtensionIdentifier(void) {
  NSURL *extension = [[[NSBundle mainBundle] builtInPlugInsURL] URLByAppendingPathComponent:@"QELToken.appex"];
  return extension == nil ? nil : [[NSBundle bundleWithURL:extension] bundleIdentifier];
}
