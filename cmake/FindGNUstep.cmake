# GNUstep's Foundation and the headers and library of GCC's Objective-C runtime. The compiler knows their place: they stand
# in the folder of the GCC whose C++ library it uses.

find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(GNUSTEP_BASE_LIBRARY gnustep-base)

execute_process(COMMAND ${CMAKE_OBJCXX_COMPILER} ${QEL_COMPILER_TARGET} -print-file-name=libobjc.so
  OUTPUT_VARIABLE GNUSTEP_RUNTIME_LIBRARY OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(GNUSTEP_RUNTIME_INCLUDE_DIR "${GNUSTEP_RUNTIME_LIBRARY}" DIRECTORY)
string(APPEND GNUSTEP_RUNTIME_INCLUDE_DIR /include)
if(NOT EXISTS ${GNUSTEP_RUNTIME_INCLUDE_DIR}/objc/objc.h)
  unset(GNUSTEP_RUNTIME_LIBRARY)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GNUstep
  REQUIRED_VARS GNUSTEP_INCLUDE_DIR GNUSTEP_BASE_LIBRARY GNUSTEP_RUNTIME_INCLUDE_DIR GNUSTEP_RUNTIME_LIBRARY
  REASON_FAILURE_MESSAGE "run script/bootstrap")
