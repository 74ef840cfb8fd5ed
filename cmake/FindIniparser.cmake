# iniparser as the target Iniparser::Iniparser: the sources in QEL_INIPARSER_SOURCE when given, else the installed
# library, else (for macOS, where it is linked statically and for both processors) the pinned sources.

# The environment speaks of the macOS product only: on Linux the tests put themselves between the product and the shared
# library.
if(APPLE)
  set(from_environment "$ENV{QEL_INIPARSER_SOURCE}")
endif()
set(QEL_INIPARSER_SOURCE "${from_environment}" CACHE PATH "Folder of iniparser's sources, version 4.1 or later")

function(qel_iniparser_from_sources folder)
  add_library(iniparser STATIC ${folder}/src/iniparser.c ${folder}/src/dictionary.c)
  target_include_directories(iniparser SYSTEM INTERFACE ${folder}/src)
  target_compile_options(iniparser PRIVATE -w
    -ffile-prefix-map=${folder}=iniparser -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
  add_library(Iniparser::Iniparser ALIAS iniparser)
endfunction()

# An installed library serves macOS only when it holds every processor of the build; package managers' often do not.
function(qel_holds_all_processors result library)
  set(${result} TRUE PARENT_SCOPE)
  if(APPLE AND CMAKE_OSX_ARCHITECTURES)
    execute_process(COMMAND lipo -archs ${library} OUTPUT_VARIABLE held ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    separate_arguments(held)
    foreach(architecture ${CMAKE_OSX_ARCHITECTURES})
      if(NOT architecture IN_LIST held)
        set(${result} FALSE PARENT_SCOPE)
      endif()
    endforeach()
  endif()
endfunction()

if(NOT QEL_INIPARSER_SOURCE)
  find_path(INIPARSER_INCLUDE_DIR iniparser.h PATH_SUFFIXES iniparser)
  if(APPLE)
    find_library(INIPARSER_LIBRARY NAMES libiniparser.a)
  else()
    find_library(INIPARSER_LIBRARY NAMES iniparser)
  endif()
  set(installed FALSE)
  if(INIPARSER_LIBRARY AND INIPARSER_INCLUDE_DIR)
    qel_holds_all_processors(installed ${INIPARSER_LIBRARY})
  endif()
endif()

if(QEL_INIPARSER_SOURCE)
  if(NOT EXISTS ${QEL_INIPARSER_SOURCE}/src/iniparser.c)
    message(FATAL_ERROR "QEL_INIPARSER_SOURCE=${QEL_INIPARSER_SOURCE} holds no src/iniparser.c")
  endif()
  qel_iniparser_from_sources(${QEL_INIPARSER_SOURCE})
  set(Iniparser_ORIGIN ${QEL_INIPARSER_SOURCE})
elseif(installed)
  add_library(Iniparser::Iniparser UNKNOWN IMPORTED)
  set_target_properties(Iniparser::Iniparser PROPERTIES
    IMPORTED_LOCATION ${INIPARSER_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${INIPARSER_INCLUDE_DIR})
  set(Iniparser_ORIGIN ${INIPARSER_LIBRARY})
elseif(APPLE)
  include(FetchContent)
  FetchContent_Declare(iniparser_sources # version 4.2.6
    GIT_REPOSITORY https://github.com/ndevilla/iniparser.git
    GIT_TAG 4bef811283e0ec1658c60e09950bd5a1ddc92e4b
    SOURCE_SUBDIR src) # no list file there: its own build is not wanted
  message(STATUS "Fetching iniparser 4.2.6 (give QEL_INIPARSER_SOURCE to use a folder instead)")
  FetchContent_MakeAvailable(iniparser_sources)
  qel_iniparser_from_sources(${iniparser_sources_SOURCE_DIR})
  set(Iniparser_ORIGIN ${iniparser_sources_SOURCE_DIR})
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Iniparser REQUIRED_VARS Iniparser_ORIGIN REASON_FAILURE_MESSAGE "run script/bootstrap")
