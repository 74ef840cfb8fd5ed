# build/macos/QELToken.app: the containing app with the extension in its PlugIns folder, both stripped and unsigned;
# QELToken.appex.dSYM and the entitlements to sign with lie beside it.

set(app ${PROJECT_BINARY_DIR}/QELToken.app/Contents)
set(appex ${app}/PlugIns/QELToken.appex/Contents)

qel_extension_plist(${appex}/Info.plist)
configure_file(App-Info.plist.in ${app}/Info.plist @ONLY)
configure_file(Extension.entitlements.in ${PROJECT_BINARY_DIR}/Extension.entitlements @ONLY)
configure_file(App.entitlements ${PROJECT_BINARY_DIR}/App.entitlements COPYONLY)
file(WRITE ${app}/PkgInfo "APPL????")

# The extension is an ordinary executable whose entry lies in Foundation; there is no main.
set_target_properties(QELToken PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${appex}/MacOS LINKER_LANGUAGE CXX)
target_link_libraries(QELToken PRIVATE qel_apple objc "-framework CoreFoundation" iconv)
target_link_options(QELToken PRIVATE
  -fapplication-extension LINKER:-e,_NSExtensionMain LINKER:-rpath,@executable_path/../Frameworks)

configure_file(installer/uninstall ${app}/Resources/uninstall @ONLY FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
  GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
configure_file(app/en.lproj/Localizable.strings ${app}/Resources/en.lproj/Localizable.strings COPYONLY)
add_executable(QELTokenApp app/main.m ${app_sources})
set_target_properties(QELTokenApp PROPERTIES
  RUNTIME_OUTPUT_DIRECTORY ${app}/MacOS OUTPUT_NAME QELToken LINKER_LANGUAGE CXX)
target_link_libraries(QELTokenApp PRIVATE qel_options qel_constants qel_report qel_apple objc
  "-framework CoreFoundation" "-framework AppKit")

# The debug map names the object files and their times. Without the build folder and the times two builds of the same
# sources are the same bytes, wherever they are made. (The presets keep ccache out: it may rewrite the paths.)
find_program(QEL_DSYMUTIL dsymutil REQUIRED)
file(REAL_PATH ${PROJECT_BINARY_DIR} real_build)
set(path "$ENV{PATH}")
if(QEL_CROSS_TOOLS)
  set(path "${QEL_CROSS_TOOLS}:${path}") # dsymutil looks for lipo
endif()
# The header alone is exported: the loader would merge weak C++ symbols with those of the maker's library.
foreach(target QELToken QELTokenApp)
  target_link_options(${target} PRIVATE LINKER:-exported_symbol,__mh_execute_header)
  set_target_properties(${target} PROPERTIES RULE_LAUNCH_LINK "${CMAKE_COMMAND} -E env ZERO_AR_DATE=1")
  target_link_options(${target} PRIVATE LINKER:-no_adhoc_codesign LINKER:-oso_prefix,${real_build}/)
endforeach()
add_custom_command(TARGET QELToken POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E env "PATH=${path}" ${CMAKE_COMMAND} -D DSYMUTIL=${QEL_DSYMUTIL} -D PREPEND=${real_build}
    -D OUTPUT=${PROJECT_BINARY_DIR}/QELToken.appex.dSYM -D IMAGE=$<TARGET_FILE:QELToken>
    -P ${CMAKE_CURRENT_SOURCE_DIR}/MakeSymbols.cmake
  COMMAND ${CMAKE_STRIP} -x -S $<TARGET_FILE:QELToken>
  COMMENT "Moving the extension's symbols to QELToken.appex.dSYM" VERBATIM)
add_custom_command(TARGET QELTokenApp POST_BUILD COMMAND ${CMAKE_STRIP} -x -S $<TARGET_FILE:QELTokenApp> VERBATIM)

# script/demo --shipped and script/test --shipped run the extension, if it is of their sources.
add_custom_command(TARGET QELToken POST_BUILD
  COMMAND ${PROJECT_SOURCE_DIR}/script/shipped.d/sources --record ${PROJECT_BINARY_DIR}/QELToken.app VERBATIM)

# The PKCS#11 library is the maker's. A bundle without it can be built and verified, not signed.
set(QEL_PKCS11_LIBRARY "" CACHE FILEPATH "The maker's libQELTarnwellPkcs11.dylib, for both processors")
file(MAKE_DIRECTORY ${appex}/Frameworks)
if(QEL_PKCS11_LIBRARY)
  configure_file(${QEL_PKCS11_LIBRARY} ${appex}/Frameworks/libQELTarnwellPkcs11.dylib COPYONLY)
else()
  file(REMOVE ${appex}/Frameworks/libQELTarnwellPkcs11.dylib)
endif()
