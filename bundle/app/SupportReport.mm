#import "bundle/app/SupportReport.h"

#include <QELBuildConstants.h>
#include <sys/utsname.h>

#import "bundle/app/LogHints.h"
#import "bundle/app/ShownText.h"
#import "bundle/app/StatusRows.h"
#include "report/ExtensionSettings.h"
#include "report/LogTail.h"
#include "report/Redaction.h"

namespace {

/// Logs and files may hold any bytes.
NSString *Text(const std::string &bytes) {
  const std::string kept = Report::WithoutThePerson(bytes);
  NSString *text = [[[NSString alloc] initWithBytes:kept.data() length:kept.size()
                                           encoding:NSUTF8StringEncoding] autorelease];
  if (text == nil) {
    text = [[[NSString alloc] initWithBytes:kept.data() length:kept.size()
                                   encoding:NSISOLatin1StringEncoding] autorelease];
  }
  return text;
}

/// A line of a log in pieces that may be shown, whatever its length.
NSString *Line(const std::string &bytes) {
  constexpr size_t kLongest = 2000;
  return QELShownLine(Text(bytes.substr(0, kLongest)));
}

NSDictionary *System() {
  utsname system{};
  uname(&system);
  return @{
    @"name" : QELShownText([[NSProcessInfo processInfo] operatingSystemVersionString]),
    @"kernel" : Text(std::string(system.sysname) + " " + system.release),
    @"processor" : Text(system.machine),
  };
}

NSString *StateName(Report::SettingsFile::State state) {
  switch (state) {
    case Report::SettingsFile::State::Read:
      return @"read";
    case Report::SettingsFile::State::Missing:
      return @"missing";
    case Report::SettingsFile::State::Unreadable:
      return @"unreadable";
    case Report::SettingsFile::State::NotUnderstood:
      break;
  }
  return @"not understood";
}

NSDictionary *Settings(const Report::ExtensionSettings &settings) {
  NSMutableArray *values = [NSMutableArray array];
  for (const Report::Setting &setting : settings.settings) {
    [values addObject:@{
      @"key" : Text(setting.key),
      @"value" : Line(Report::WithoutSecrets(setting.value)),
      @"origin" : Text(setting.origin),
    }];
  }
  NSMutableArray *files = [NSMutableArray array];
  for (const Report::SettingsFile &file : settings.files) {
    [files addObject:@{
      @"path" : Text(file.path.string()),
      @"state" : StateName(file.state),
      @"line" : file.line == 0 ? [NSNull null] : [NSNumber numberWithInt:file.line],
    }];
  }
  return @{@"values" : values, @"files" : files};
}

NSDictionary *TokenLog(const std::string &path, bool on, const Report::LogTail &tail) {
  NSMutableArray *lines = [NSMutableArray array];
  for (const std::string &line : tail.lines) {
    [lines addObject:Line(line)];
  }
  return @{@"path" : Text(path), @"on" : [NSNumber numberWithBool:on], @"lines" : lines};
}

void Append(NSMutableString *text, NSString *title, NSArray *lines) {
  [text appendFormat:@"%@\n", title];
  for (NSString *line in [lines count] > 0 ? lines : @[ @"none" ]) {
    [text appendFormat:@"  %@\n", line];
  }
  [text appendString:@"\n"];
}

NSArray *SystemLines(NSDictionary *report) {
  NSDictionary *system = [report objectForKey:@"system"];
  NSDictionary *extension = [[report objectForKey:@"status"] objectForKey:@"extension"];
  return @[
    [NSString stringWithFormat:@"QELToken %@", [[report objectForKey:@"status"] objectForKey:@"version"]],
    [NSString stringWithFormat:@"extension %@: %@", [extension objectForKey:@"identifier"],
                               [extension objectForKey:@"registration"]],
    [NSString stringWithFormat:@"%@ (%@, %@)", [system objectForKey:@"name"], [system objectForKey:@"kernel"],
                               [system objectForKey:@"processor"]],
    [NSString stringWithFormat:@"made %@", [[report objectForKey:@"status"] objectForKey:@"time"]],
  ];
}

NSArray *SettingsLines(NSDictionary *settings) {
  NSMutableArray *lines = [NSMutableArray array];
  for (NSDictionary *value in [settings objectForKey:@"values"]) {
    [lines addObject:[NSString stringWithFormat:@"%@ = %@ (%@)", [value objectForKey:@"key"],
                                                [value objectForKey:@"value"], [value objectForKey:@"origin"]]];
  }
  for (NSDictionary *file in [settings objectForKey:@"files"]) {
    NSString *where = [file objectForKey:@"line"] == [NSNull null]
                          ? @""
                          : [NSString stringWithFormat:@" (line %@)", [file objectForKey:@"line"]];
    const BOOL counts = [@[ @"not understood", @"unreadable" ] containsObject:[file objectForKey:@"state"]];
    [lines
        addObject:[NSString stringWithFormat:@"%@: %@%@%@", [file objectForKey:@"path"], [file objectForKey:@"state"],
                                             where, counts ? @", counts as missing" : @""]];
  }
  return lines;
}

NSArray *StatusLines(QELStatus *status, NSDate *now) {
  NSMutableArray *lines = [NSMutableArray array];
  for (QELStatusRow *row in [QELStatusRow rowsOfStatus:status at:now]) {
    for (NSString *text in @[ [row title], [row detail], [row advice] ]) {
      if ([text length] > 0) {
        [lines addObject:[row isHeading] ? text : [@"  " stringByAppendingString:text]];
      }
    }
  }
  return lines;
}

}  // namespace

NSDictionary *QELSupportReport(QELStatus *status, NSDate *now) {
  const Report::ExtensionSettings settings = Report::ReadExtensionSettings();
  const std::string path = Report::TokenLogPath();
  const Report::LogTail tail = Report::ReadLogTail(path);
  NSDictionary *log = TokenLog(path, settings.IsTokenLogOn(), tail);
  return @{
    @"status" : [status describedAt:now],
    @"system" : System(),
    @"settings" : Settings(settings),
    @"leftOut" : QELLogHints([log objectForKey:@"lines"]),
    @"lastFailingCall" : tail.lastFailingCall.empty() ? [NSNull null] : Text(tail.lastFailingCall),
    @"tokenLog" : log,
  };
}

NSString *QELSupportText(QELStatus *status, NSDate *now) {
  NSDictionary *report = QELSupportReport(status, now);
  NSDictionary *log = [report objectForKey:@"tokenLog"];
  id call = [report objectForKey:@"lastFailingCall"];
  NSMutableString *text = [NSMutableString string];
  Append(text, @"Versions", SystemLines(report));
  Append(text, @"Settings", SettingsLines([report objectForKey:@"settings"]));
  Append(text, @"Readers, tokens and published items", StatusLines(status, now));
  Append(text, @"Left out, as far as the token log says", [report objectForKey:@"leftOut"]);
  Append(text, @"Last failing call in the token log", call == [NSNull null] ? [NSArray array] : @[ call ]);
  NSString *off = [[log objectForKey:@"on"] boolValue] ? @"" : @" (off)";
  Append(text, [NSString stringWithFormat:@"End of the token log %@%@", [log objectForKey:@"path"], off],
         [log objectForKey:@"lines"]);
  return text;
}
