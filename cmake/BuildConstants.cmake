# Paths and identifiers that the build decides, in one generated header: <QELBuildConstants.h>.

if(APPLE)
  set(QEL_LIBRARY_DIR "/Library")
  set(QEL_TOKEN_LOG_BELOW_HOME "Library/Containers/${QEL_EXTENSION_ID}/Data/Documents/QELToken.log")
  set(QEL_PLUGINKIT "/usr/bin/pluginkit")
else()
  set(QEL_LIBRARY_DIR "${PROJECT_BINARY_DIR}/Library" CACHE PATH
    "Stands for the system's /Library: PIN dialog library and machine-wide settings")
  set(QEL_TOKEN_LOG_BELOW_HOME "Documents/QELToken.log")
  set(QEL_PLUGINKIT "${PROJECT_BINARY_DIR}/bin/pluginkit")
endif()

add_library(qel_constants INTERFACE)
configure_file(${PROJECT_SOURCE_DIR}/cmake/QELBuildConstants.h.in ${PROJECT_BINARY_DIR}/generated/QELBuildConstants.h @ONLY)
target_include_directories(qel_constants INTERFACE ${PROJECT_BINARY_DIR}/generated)

# The commit is not among them: it changes more often than what includes them should be built.
if(NOT APPLE)
  set(commit ${PROJECT_BINARY_DIR}/generated/QELCommit.cc)
  add_custom_target(qel_commit_file
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DOUTPUT=${commit} -P ${PROJECT_SOURCE_DIR}/cmake/Commit.cmake
    BYPRODUCTS ${commit} COMMENT "Asking for the commit" VERBATIM)
  add_library(qel_commit STATIC ${commit})
  add_dependencies(qel_commit qel_commit_file)
  target_link_libraries(qel_commit PUBLIC qel_options qel_constants)
endif()
