# The extension of a built QELToken.app in the Linux layout: its Info.plist, its executable under the name that the loader
# looks for, and the loader in its place.

set(shipped ${QEL_SHIPPED_APP}/Contents/PlugIns/QELToken.appex/Contents)
configure_file(${shipped}/Info.plist ${appex}/Info.plist COPYONLY)
if(TARGET qel_guest)
  set(loader ${appex}/MacOS/QELToken.loader)
  set(build ${QEL_GUEST})
  set(starter COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:qel_emulated_extension> ${appex}/MacOS/QELToken
    COMMAND ${CMAKE_COMMAND} -E copy ${QEL_EMULATOR} ${appex}/MacOS/emulator)
  set(made qel_emulated_extension ${QEL_GUEST}/bin/qel_macho_loader)
  # What the emulator takes from there instead of from this system.
  file(READ ${appex}/Extension.entitlements entitlements)
  set(exceptions "absolute-path.read-only</key>\n\t<array>\n")
  string(REPLACE "${exceptions}" "${exceptions}\t\t<string>${QEL_ARM64_ROOT}</string>\n" entitlements "${entitlements}")
  file(WRITE ${appex}/Extension.entitlements "${entitlements}")
else()
  set(loader ${appex}/MacOS/QELToken)
  set(build ${PROJECT_BINARY_DIR})
  set(made qel_macho_loader)
endif()
add_custom_command(OUTPUT ${loader}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${appex}/MacOS
  COMMAND ${CMAKE_COMMAND} -E copy ${shipped}/MacOS/QELToken ${loader}.macho
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${build}/platform/macho/libraries ${appex}/MacOS
  COMMAND ${CMAKE_COMMAND} -E copy ${build}/bin/qel_macho_loader ${loader}
  ${starter}
  DEPENDS ${shipped}/MacOS/QELToken ${made}
  COMMENT "Placing the shipped extension and its loader in the bundle" VERBATIM)
add_custom_target(qel_shipped_appex ALL DEPENDS ${loader})
add_dependencies(QELToken qel_shipped_appex)
