# GNUstep's Foundation and the headers and library of GCC's Objective-C runtime, which only GCC knows the place of.

find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(GNUSTEP_BASE_LIBRARY gnustep-base)

find_program(QEL_GCC gcc REQUIRED)
execute_process(COMMAND ${QEL_GCC} -print-file-name=include
  OUTPUT_VARIABLE GNUSTEP_RUNTIME_INCLUDE_DIR OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND ${QEL_GCC} -print-file-name=libobjc.so
  OUTPUT_VARIABLE GNUSTEP_RUNTIME_LIBRARY OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT EXISTS ${GNUSTEP_RUNTIME_INCLUDE_DIR}/objc/objc.h OR NOT IS_ABSOLUTE ${GNUSTEP_RUNTIME_LIBRARY})
  unset(GNUSTEP_RUNTIME_LIBRARY)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GNUstep
  REQUIRED_VARS GNUSTEP_INCLUDE_DIR GNUSTEP_BASE_LIBRARY GNUSTEP_RUNTIME_INCLUDE_DIR GNUSTEP_RUNTIME_LIBRARY
  REASON_FAILURE_MESSAGE "run script/bootstrap")
