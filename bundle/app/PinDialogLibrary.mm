#import "bundle/app/PinDialogLibrary.h"

#include <QELBuildConstants.h>

#include <cerrno>
#include <cstdio>

BOOL QELIsPinDialogLibraryMissing(void) {
  FILE *library = std::fopen(QEL_IN_LIBRARY("/Frameworks/QELPINDialog.framework/QELPINDialog"), "r");
  if (library == nullptr) {
    return errno == ENOENT || errno == ENOTDIR;
  }
  std::fclose(library);
  return NO;
}
