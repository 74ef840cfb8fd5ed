# p11-kit's PKCS#11 header, as the target Pkcs11::Headers: in QEL_PKCS11_INCLUDE_DIR when given, else installed, else
# (for macOS) the pinned file.

set(QEL_PKCS11_INCLUDE_DIR "$ENV{QEL_PKCS11_INCLUDE_DIR}" CACHE PATH "Folder that holds p11-kit/pkcs11.h")

# One plain header serves every system: a cross build takes the building system's.
find_path(PKCS11_INCLUDE_DIR p11-kit/pkcs11.h HINTS ${QEL_PKCS11_INCLUDE_DIR} /usr/include PATH_SUFFIXES p11-kit-1
  NO_CMAKE_FIND_ROOT_PATH)

if(NOT PKCS11_INCLUDE_DIR AND APPLE)
  include(FetchContent)
  FetchContent_Declare(pkcs11_header # of p11-kit 0.24.1
    URL https://raw.githubusercontent.com/p11-glue/p11-kit/dd0590d4e583f107e3e9fafe9ed754149da335d0/common/pkcs11.h
    URL_HASH SHA256=7de658bf2bf798bdd7abbdc8003a32e19a0b9d994c8924ab82b66ab45b085c21
    DOWNLOAD_NO_EXTRACT TRUE)
  message(STATUS "Fetching the PKCS#11 header (give QEL_PKCS11_INCLUDE_DIR to use a folder instead)")
  FetchContent_MakeAvailable(pkcs11_header)
  file(COPY ${pkcs11_header_SOURCE_DIR}/pkcs11.h DESTINATION ${PROJECT_BINARY_DIR}/pkcs11/p11-kit)
  set(PKCS11_INCLUDE_DIR ${PROJECT_BINARY_DIR}/pkcs11 CACHE PATH "" FORCE)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Pkcs11 REQUIRED_VARS PKCS11_INCLUDE_DIR REASON_FAILURE_MESSAGE "run script/bootstrap")
if(Pkcs11_FOUND AND NOT TARGET Pkcs11::Headers)
  add_library(Pkcs11::Headers INTERFACE IMPORTED)
  target_include_directories(Pkcs11::Headers INTERFACE ${PKCS11_INCLUDE_DIR})
endif()
