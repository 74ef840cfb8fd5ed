# cmake -D DSYMUTIL=FILE -D PREPEND=DIR -D OUTPUT=DIR -D IMAGE=FILE -P MakeSymbols.cmake: collects the debug information
# of an executable whose debug map names its objects below PREPEND.

execute_process(COMMAND ${DSYMUTIL} --oso-prepend-path=${PREPEND} -o ${OUTPUT} ${IMAGE}
  RESULT_VARIABLE status ERROR_VARIABLE messages)
# Literals and exception tables have one name many times over in an object; nothing looks for them by name.
string(REGEX REPLACE "warning: [^\n]*failed to insert symbol [^\n]*\n" "" messages "${messages}")
if(NOT messages STREQUAL "")
  message("${messages}")
endif()
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${DSYMUTIL} failed: ${status}")
endif()
