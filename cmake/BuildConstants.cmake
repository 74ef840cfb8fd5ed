# Paths and identifiers that the build decides, in one generated header: <QELBuildConstants.h>.

if(APPLE)
  set(QEL_LIBRARY_DIR "/Library")
else()
  set(QEL_LIBRARY_DIR "${PROJECT_BINARY_DIR}/Library" CACHE PATH
    "Stands for the system's /Library: PIN dialog library and machine-wide settings")
endif()

add_library(qel_constants INTERFACE)
configure_file(${PROJECT_SOURCE_DIR}/cmake/QELBuildConstants.h.in ${PROJECT_BINARY_DIR}/generated/QELBuildConstants.h @ONLY)
target_include_directories(qel_constants INTERFACE ${PROJECT_BINARY_DIR}/generated)
