# Writes the C++ file OUTPUT with the commit that SOURCE is at, when that changed: `cmake -DSOURCE=.. -DOUTPUT=.. -P`.

execute_process(COMMAND git -C ${SOURCE} describe --always --dirty=+changes --exclude=*
  OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  set(commit "no git clone") # an archive of the sources, or no git
endif()
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[#include "cmake/QELCommit.h"

const char QELCommit[] = "@commit@";
]] @ONLY)
