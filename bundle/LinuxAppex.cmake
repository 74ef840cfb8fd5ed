# build/PRESET/QELToken.appex, what ctkhost starts.

# qel_lay_out_appex(target contents soft_card): what surrounds an executable in the folder `contents`; `target` places the file
# `soft_card`.
function(qel_lay_out_appex target contents soft_card)
  qel_extension_plist(${contents}/Info.plist)
  # macOS has them in the signature; here the host reads them.
  configure_file(Extension.entitlements.in ${contents}/Extension.entitlements @ONLY)
  set(library ${contents}/Frameworks/libQELTarnwellPkcs11.dylib)
  add_custom_command(OUTPUT ${library}
    COMMAND ${CMAKE_COMMAND} -E copy ${soft_card} ${library}
    DEPENDS QELTarnwellPkcs11 ${soft_card} COMMENT "Placing the soft card in the bundle" VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${library})
  add_dependencies(QELToken ${target})
endfunction()

set(appex ${PROJECT_BINARY_DIR}/QELToken.appex/Contents)
if(QEL_SHIPPED_APP) # then that is the macOS product's code, and what is compiled for Linux lies beside it
  qel_file_for_extension(soft_card QELTarnwellPkcs11)
  qel_lay_out_appex(qel_shipped_library ${appex} ${soft_card})
  include(ShippedAppex.cmake)
  set(appex ${PROJECT_BINARY_DIR}/linux/QELToken.appex/Contents)
endif()
qel_lay_out_appex(qel_bundled_library ${appex} $<TARGET_FILE:QELTarnwellPkcs11>)

# platform/ supplies the entry; the classes are found by name in the runtime's tables, so nothing need be exported.
target_link_libraries(QELToken PRIVATE qel_extension_main)
set_target_properties(QELToken PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${appex}/MacOS LINKER_LANGUAGE CXX)
