# qel_layer(name [USES layer...] [APPLE] [LINK library...]): one product folder, one target, one row of arrows.
#
# The target qel_<name> links its sources whole: a plain archive would drop object files that hold only categories
# or classes found by name. The folder's files are its sources.
function(qel_layer name)
  cmake_parse_arguments(LAYER "APPLE" "" "USES;LINK" ${ARGN})
  set(folder ${PROJECT_SOURCE_DIR}/${name})
  file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cc ${folder}/*.mm ${folder}/*.m)
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)

  add_library(qel_${name}_objects STATIC ${sources} ${headers})
  target_link_libraries(qel_${name}_objects PUBLIC qel_options qel_constants ${LAYER_LINK})
  foreach(used ${LAYER_USES})
    target_link_libraries(qel_${name}_objects PUBLIC qel_${used})
  endforeach()
  if(LAYER_APPLE)
    target_link_libraries(qel_${name}_objects PUBLIC qel_apple)
  endif()

  add_library(qel_${name} INTERFACE)
  target_link_libraries(qel_${name} INTERFACE "$<LINK_LIBRARY:WHOLE_ARCHIVE,qel_${name}_objects>")
endfunction()

# qel_room(folder [USES folder...] [LINK library...] [EXCEPT file...]): one room of the Linux side, one target, one row of
# arrows. The target is qel_<folder> with _ for /; the folder's files but those EXCEPTed are its sources. USES names
# rooms, or platform for the protocol between host and extension.
function(qel_room room)
  cmake_parse_arguments(ROOM "" "" "USES;LINK;EXCEPT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.cc ${PROJECT_SOURCE_DIR}/${room}/*.h)
  list(TRANSFORM ROOM_EXCEPT PREPEND ${PROJECT_SOURCE_DIR}/${room}/)
  list(REMOVE_ITEM sources ${ROOM_EXCEPT})
  string(REPLACE / _ target qel_${room})
  add_library(${target} STATIC ${sources})
  list(TRANSFORM ROOM_USES REPLACE "^platform$" "wire")
  list(TRANSFORM ROOM_USES REPLACE / _)
  list(TRANSFORM ROOM_USES PREPEND qel_)
  target_link_libraries(${target} PUBLIC qel_options ${ROOM_USES} ${ROOM_LINK})
endfunction()
