# GNUstep's AppKit, which the containing app is built against on Linux.

find_path(GNUSTEP_GUI_INCLUDE_DIR AppKit/AppKit.h PATH_SUFFIXES GNUstep)
find_library(GNUSTEP_GUI_LIBRARY gnustep-gui)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GNUstepGUI
  REQUIRED_VARS GNUSTEP_GUI_INCLUDE_DIR GNUSTEP_GUI_LIBRARY
  REASON_FAILURE_MESSAGE "run script/bootstrap")

if(GNUstepGUI_FOUND AND NOT TARGET GNUstep::GUI)
  add_library(GNUstep::GUI INTERFACE IMPORTED)
  target_link_libraries(GNUstep::GUI INTERFACE ${GNUSTEP_GUI_LIBRARY})
  target_compile_definitions(GNUstep::GUI INTERFACE GNUSTEP_GUI_LIBRARY=1)
endif()
