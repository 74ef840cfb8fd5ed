# build/PRESET/QELToken.appex, what ctkhost starts.

set(appex ${PROJECT_BINARY_DIR}/QELToken.appex/Contents)
qel_extension_plist(${appex}/Info.plist)
# macOS has them in the signature; here the host reads them.
configure_file(Extension.entitlements.in ${appex}/Extension.entitlements @ONLY)

# platform/ supplies the entry; the classes are found by name in the runtime's tables, so nothing need be exported.
target_link_libraries(QELToken PRIVATE qel_extension_main)
set_target_properties(QELToken PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${appex}/MacOS LINKER_LANGUAGE CXX)

set(library ${appex}/Frameworks/libQELTarnwellPkcs11.dylib)
add_custom_command(OUTPUT ${library}
  COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:QELTarnwellPkcs11> ${library}
  DEPENDS QELTarnwellPkcs11 COMMENT "Placing the soft card in the bundle" VERBATIM)
add_custom_target(qel_bundled_library ALL DEPENDS ${library})
add_dependencies(QELToken qel_bundled_library)
