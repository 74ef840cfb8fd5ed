# The extension of a built QELToken.app in the Linux layout: its Info.plist, its executable under the name that the loader
# looks for, and the loader in its place.

set(shipped ${QEL_SHIPPED_APP}/Contents/PlugIns/QELToken.appex/Contents)
configure_file(${shipped}/Info.plist ${appex}/Info.plist COPYONLY)
add_custom_command(OUTPUT ${appex}/MacOS/QELToken
  COMMAND ${CMAKE_COMMAND} -E make_directory ${appex}/MacOS
  COMMAND ${CMAKE_COMMAND} -E copy ${shipped}/MacOS/QELToken ${appex}/MacOS/QELToken.macho
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:qel_macho_libcxx> ${appex}/MacOS
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:qel_macho_loader> ${appex}/MacOS/QELToken
  DEPENDS ${shipped}/MacOS/QELToken qel_macho_loader qel_macho_libcxx
  COMMENT "Placing the shipped extension and its loader in the bundle" VERBATIM)
add_custom_target(qel_shipped_appex ALL DEPENDS ${appex}/MacOS/QELToken)
add_dependencies(QELToken qel_shipped_appex)
