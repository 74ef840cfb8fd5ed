// The containing app: installing it registers the extension, opening it shows what the system knows of readers, cards
// and certificates. With an option it prints instead and opens no window, for scripts and for the account that runs
// the login window.
#include <stdio.h>
#include <string.h>

#import "bundle/app/Application.h"
#import "bundle/app/Commands.h"

static const char kUsage[] =
    "usage: QELToken                     open the window\n"
    "       QELToken --status [--json]   print whether the extension is registered, readers, cards and certificates;\n"
    "                                    exit status 0 when it is registered, 1 when not\n"
    "       QELToken --support [--json]  print what a help desk asks for, without secrets; read it before you send it\n"
    "       QELToken --help              print this\n";

static int Usage(const char *argument) {
  fprintf(stderr, "QELToken: unknown option '%s'\n%s", argument, kUsage);
  return 2;
}

int main(int argc, const char **argv) {
  int result = 0;
  @autoreleasepool {
    const char *command = argc > 1 ? argv[1] : "";
    const BOOL json = argc > 2 && strcmp(argv[2], "--json") == 0;
    if (argc > (json ? 3 : 2)) {
      result = Usage(argv[json ? 3 : 2]);
    } else if (strcmp(command, "--status") == 0) {
      result = QELPrintStatus(json);
    } else if (strcmp(command, "--support") == 0) {
      result = QELPrintSupport(json);
    } else if (strcmp(command, "--help") == 0 || strcmp(command, "-h") == 0) {
      fputs(kUsage, stdout);
    } else if (strncmp(command, "--", 2) == 0) {
      result = Usage(command);
    } else {
      // Whatever else stands there comes from whoever starts apps.
      [QELMakeApplication() run];
    }
  }
  return result;
}
