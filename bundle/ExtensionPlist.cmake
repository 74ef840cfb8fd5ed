# The extension's Info.plist, from the one template that both systems use.

set(QEL_AIDS "" CACHE STRING
  "Card application identifiers in hexadecimal, separated by semicolons; empty asks the extension about every card")

# With an application identifier the smart-card service selects that application and holds the card exclusively, which
# shuts the PKCS#11 library out: only for a library that shares the service's session.
set(QEL_AID_ENTRY "")
if(QEL_AIDS)
  foreach(aid ${QEL_AIDS})
    string(LENGTH "${aid}" digits)
    if(NOT aid MATCHES "^([0-9A-F][0-9A-F])+$" OR digits LESS 10 OR digits GREATER 32)
      message(FATAL_ERROR "QEL_AIDS: '${aid}' is not an application identifier of 5 to 16 bytes in capital hexadecimal")
    endif()
    string(APPEND QEL_AID_ENTRY "\n\t\t\t\t<string>${aid}</string>")
  endforeach()
  set(QEL_AID_ENTRY "\n\t\t\t<key>com.apple.ctk.aid</key>\n\t\t\t<array>${QEL_AID_ENTRY}\n\t\t\t</array>")
endif()

function(qel_extension_plist output)
  configure_file(${PROJECT_SOURCE_DIR}/bundle/Extension-Info.plist.in ${output} @ONLY)
endfunction()
