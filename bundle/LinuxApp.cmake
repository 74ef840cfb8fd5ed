# build/PRESET/QELToken.app, the containing app in the layout of GNUstep's Foundation, and the program that plays
# pluginkit for it.

# Only the tests need it: a machine that makes the demonstration does without windows.
if(QEL_BUILD_TESTS AND NOT CMAKE_CROSSCOMPILING)
  find_package(GNUstepGUI REQUIRED)
else()
  find_package(GNUstepGUI QUIET)
  if(NOT GNUstepGUI_FOUND)
    message(STATUS "Without GNUstep's AppKit the containing app is not built")
    return()
  endif()
endif()

set(app ${PROJECT_BINARY_DIR}/QELToken.app)
configure_file(App-Info.plist.in ${app}/Resources/Info-gnustep.plist @ONLY)
configure_file(app/en.lproj/Localizable.strings ${app}/Resources/en.lproj/Localizable.strings COPYONLY)
file(MAKE_DIRECTORY ${app}/PlugIns)
file(CREATE_LINK ../../QELToken.appex ${app}/PlugIns/QELToken.appex SYMBOLIC)
configure_file(pluginkit.in ${PROJECT_BINARY_DIR}/bin/pluginkit @ONLY FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

add_library(qel_app STATIC ${app_sources})
target_link_libraries(qel_app PUBLIC qel_options qel_constants qel_report qel_platform GNUstep::GUI)

add_executable(QELTokenApp app/main.m)
set_target_properties(QELTokenApp PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${app} OUTPUT_NAME QELToken)
target_link_libraries(QELTokenApp PRIVATE qel_app)
if(QEL_SANITIZE)  # Foundation needs the suppressions that the test programs have
  target_sources(QELTokenApp PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/LeakSuppressions.cc)
endif()

# The app that ships, in the same layout: its executable under the name that the loader looks for, and the loader in its
# place.
if(QEL_SHIPPED_APP AND TARGET qel_macho_app_loader)
  set(shipped ${QEL_SHIPPED_APP}/Contents)
  set(app ${PROJECT_BINARY_DIR}/shipped/QELToken.app)
  configure_file(${shipped}/Info.plist ${app}/Resources/Info-gnustep.plist COPYONLY)
  configure_file(${shipped}/Resources/en.lproj/Localizable.strings ${app}/Resources/en.lproj/Localizable.strings COPYONLY)
  file(MAKE_DIRECTORY ${app}/PlugIns)
  file(CREATE_LINK ${shipped}/PlugIns/QELToken.appex ${app}/PlugIns/QELToken.appex SYMBOLIC)
  add_custom_command(OUTPUT ${app}/QELToken
    COMMAND ${CMAKE_COMMAND} -E copy ${shipped}/MacOS/QELToken ${app}/QELToken.macho
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${PROJECT_BINARY_DIR}/platform/macho/libraries ${app}
    COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:qel_macho_app_loader> ${app}/QELToken
    DEPENDS ${shipped}/MacOS/QELToken qel_macho_app_loader qel_macho_libcxx
    COMMENT "Placing the shipped app and its loader in a bundle" VERBATIM)
  add_custom_target(qel_shipped_app ALL DEPENDS ${app}/QELToken)
endif()
