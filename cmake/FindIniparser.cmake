# iniparser: the system's library, as the target Iniparser::Iniparser.

find_path(INIPARSER_INCLUDE_DIR iniparser.h PATH_SUFFIXES iniparser)
find_library(INIPARSER_LIBRARY iniparser)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Iniparser REQUIRED_VARS INIPARSER_LIBRARY INIPARSER_INCLUDE_DIR)
if(Iniparser_FOUND AND NOT TARGET Iniparser::Iniparser)
  add_library(Iniparser::Iniparser UNKNOWN IMPORTED)
  set_target_properties(Iniparser::Iniparser PROPERTIES
    IMPORTED_LOCATION ${INIPARSER_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${INIPARSER_INCLUDE_DIR})
endif()
