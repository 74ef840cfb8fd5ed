# qel_file_for_extension(result target): the file of a library that is loaded into the extension's process; where that is
# emulated, the file that the build for the emulator makes. Who uses it depends on the target qel_guest then.
function(qel_file_for_extension result target)
  set(${result} $<TARGET_FILE:${target}> PARENT_SCOPE)
  if(TARGET qel_guest)
    set(${result} ${QEL_GUEST}/$<PATH:RELATIVE_PATH,$<TARGET_FILE:${target}>,${PROJECT_BINARY_DIR}> PARENT_SCOPE)
  endif()
endfunction()
