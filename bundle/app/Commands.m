#import "bundle/app/Commands.h"

#include <stdio.h>

#import "bundle/app/StatusRows.h"
#import "bundle/app/SupportReport.h"

static void PrintJson(NSDictionary *described) {
  NSData *bytes = [NSJSONSerialization dataWithJSONObject:described options:NSJSONWritingPrettyPrinted error:NULL];
  fwrite([bytes bytes], 1, [bytes length], stdout);
  putchar('\n');
}

static void PrintRow(QELStatusRow *row) {
  const char *indent = [row isHeading] ? "" : "  ";
  for (NSString *text in @[ [row title], [row detail], [row advice] ]) {
    if ([text length] > 0) {
      printf("%s%s%s\n", indent, text == [row title] ? "" : "  ", [text UTF8String]);
    }
  }
}

static QELStatus *StatusNow(void) {
  TKTokenWatcher *watcher = [[[TKTokenWatcher alloc] init] autorelease];
  return [[[QELStatus alloc] initWithWatcher:watcher manager:[TKSmartCardSlotManager defaultManager]] autorelease];
}

int QELPrintSupport(BOOL json) {
  NSDate *now = [NSDate date];
  if (json) {
    PrintJson(QELSupportReport(StatusNow(), now));
  } else {
    fputs([QELSupportText(StatusNow(), now) UTF8String], stdout);
  }
  return 0;
}

int QELPrintStatus(BOOL json) {
  QELStatus *status = StatusNow();
  NSDate *now = [NSDate date];
  if (json) {
    PrintJson([status describedAt:now]);
  } else {
    for (QELStatusRow *row in [QELStatusRow rowsOfStatus:status at:now]) {
      PrintRow(row);
    }
  }
  return [status registration] == QELRegistrationFound ? 0 : 1;
}
