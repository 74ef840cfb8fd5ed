# Toolchain file: builds for macOS, both processors at once, on another system with clang, lld and llvm.
# The SDK's folder comes from the environment: MACOS_SDK=DIR cmake --preset macos-cross

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)

if(NOT "$ENV{MACOS_SDK}" STREQUAL "")
  set(CMAKE_OSX_SYSROOT "$ENV{MACOS_SDK}" CACHE PATH "The SDK" FORCE)
endif()
if(NOT EXISTS "${CMAKE_OSX_SYSROOT}/usr/lib/libobjc.tbd")
  message(FATAL_ERROR "MACOS_SDK='$ENV{MACOS_SDK}' is not the folder of a macOS SDK")
endif()
set(CMAKE_OSX_ARCHITECTURES "x86_64;arm64" CACHE STRING "Processors")
set(CMAKE_OSX_DEPLOYMENT_TARGET "11.5" CACHE STRING "Oldest system")

find_program(QEL_CLANG clang REQUIRED)
find_program(QEL_CLANGXX clang++ REQUIRED)
set(CMAKE_C_COMPILER ${QEL_CLANG})
set(CMAKE_CXX_COMPILER ${QEL_CLANGXX})
set(CMAKE_OBJC_COMPILER ${QEL_CLANG})
set(CMAKE_OBJCXX_COMPILER ${QEL_CLANGXX})
foreach(language C CXX OBJC OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET arm64-apple-macos11.5)
endforeach()

# The loader of newer systems refuses images whose __DATA_CONST lacks the flag SG_READ_ONLY, and the unwinder needs
# entries that lead to their functions. Linkers before this version get both wrong.
set(QEL_LD64_OLDEST 16)

function(qel_recent_linker result linker)
  execute_process(COMMAND ${linker} --version OUTPUT_VARIABLE version ERROR_QUIET)
  if(NOT version MATCHES "LLD ([0-9]+)" OR CMAKE_MATCH_1 LESS QEL_LD64_OLDEST)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

# Beside which its version's other tools lie, see below.
function(qel_complete_linker result linker)
  set(recent TRUE)
  qel_recent_linker(recent ${linker})
  file(REAL_PATH ${linker} linker)
  get_filename_component(folder ${linker} DIRECTORY)
  if(NOT recent OR NOT EXISTS ${folder}/llvm-lipo)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()

execute_process(COMMAND ${QEL_CLANG} -print-prog-name=ld64.lld OUTPUT_VARIABLE linkers OUTPUT_STRIP_TRAILING_WHITESPACE)
list(APPEND linkers ld64.lld)
foreach(version RANGE 29 ${QEL_LD64_OLDEST} -1)
  list(APPEND linkers ld64.lld-${version})
endforeach()
find_program(QEL_LD64 NAMES ${linkers} VALIDATOR qel_complete_linker)
if(QEL_LD64)
  set(recent TRUE)
  qel_recent_linker(recent ${QEL_LD64}) # also when it was given
endif()
if(NOT QEL_LD64 OR NOT recent)
  message(FATAL_ERROR "no ld64.lld of version ${QEL_LD64_OLDEST} or later (QEL_LD64=${QEL_LD64}), and older ones make images that macOS "
    "refuses; install it (Debian 12: lld-16 and llvm-16, Debian 13: lld and llvm), or name it with -DQEL_LD64=FILE")
endif()

# The other tools are those of the linker's version, wherever the distribution keeps them.
file(REAL_PATH ${QEL_LD64} folder)
get_filename_component(folder ${folder} DIRECTORY)
foreach(tool QEL_LIPO=llvm-lipo QEL_LIBTOOL=llvm-libtool-darwin CMAKE_INSTALL_NAME_TOOL=llvm-install-name-tool
    CMAKE_STRIP=llvm-strip QEL_DSYMUTIL=dsymutil)
  string(REGEX MATCH "^([^=]+)=(.+)$" tool ${tool})
  find_program(${CMAKE_MATCH_1} NAMES ${CMAKE_MATCH_2} PATHS ${folder} NO_DEFAULT_PATH)
  if(NOT ${CMAKE_MATCH_1})
    message(FATAL_ERROR "${CMAKE_MATCH_2} is not beside the linker in ${folder}; install llvm of the linker's version")
  endif()
endforeach()

# clang and dsymutil look for a program named lipo.
set(QEL_CROSS_TOOLS ${CMAKE_BINARY_DIR}/tools)
file(MAKE_DIRECTORY ${QEL_CROSS_TOOLS})
file(CREATE_LINK ${QEL_LIPO} ${QEL_CROSS_TOOLS}/lipo SYMBOLIC)

foreach(language C CXX OBJC OBJCXX)
  set(CMAKE_${language}_FLAGS_INIT "-B \"${QEL_CROSS_TOOLS}\"")
  # A universal archive: one plain archive per processor, which ar cannot make.
  set(CMAKE_${language}_CREATE_STATIC_LIBRARY "\"${QEL_LIBTOOL}\" -static -o <TARGET> <OBJECTS>")
endforeach()
# The SDK's headers of the C++ library, also where clang would find its own version's beside itself.
set(cxx_library "-stdlib=libc++ --start-no-unused-arguments -nostdinc++ --end-no-unused-arguments -isystem \"${CMAKE_OSX_SYSROOT}/usr/include/c++/v1\"")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT} ${cxx_library}")
set(CMAKE_OBJCXX_FLAGS_INIT "${CMAKE_OBJCXX_FLAGS_INIT} ${cxx_library}")
# The version of Apple's linker whose options lld understands.
foreach(kind EXE SHARED)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "\"-fuse-ld=${QEL_LD64}\" -mlinker-version=609")
endforeach()

set(CMAKE_FIND_ROOT_PATH ${CMAKE_OSX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
