# p11-kit's PKCS#11 header, as the target Pkcs11::Headers.

find_path(PKCS11_INCLUDE_DIR p11-kit/pkcs11.h PATH_SUFFIXES p11-kit-1)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Pkcs11 REQUIRED_VARS PKCS11_INCLUDE_DIR)
if(Pkcs11_FOUND AND NOT TARGET Pkcs11::Headers)
  add_library(Pkcs11::Headers INTERFACE IMPORTED)
  target_include_directories(Pkcs11::Headers INTERFACE ${PKCS11_INCLUDE_DIR})
endif()
