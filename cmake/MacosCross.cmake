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

# The tools of clang's own version, wherever the distribution keeps them.
function(qel_llvm_tool variable name)
  execute_process(COMMAND ${QEL_CLANG} -print-prog-name=${name} OUTPUT_VARIABLE tool OUTPUT_STRIP_TRAILING_WHITESPACE)
  find_program(${variable} NAMES ${tool} ${name} REQUIRED)
endfunction()
qel_llvm_tool(QEL_LIPO llvm-lipo)
qel_llvm_tool(QEL_LD64 ld64.lld)
qel_llvm_tool(QEL_LIBTOOL llvm-libtool-darwin)
qel_llvm_tool(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool)
qel_llvm_tool(CMAKE_STRIP llvm-strip)
qel_llvm_tool(QEL_DSYMUTIL dsymutil)

# clang and dsymutil look for a program named lipo.
set(QEL_CROSS_TOOLS ${CMAKE_BINARY_DIR}/tools)
file(MAKE_DIRECTORY ${QEL_CROSS_TOOLS})
file(CREATE_LINK ${QEL_LIPO} ${QEL_CROSS_TOOLS}/lipo SYMBOLIC)

foreach(language C CXX OBJC OBJCXX)
  set(CMAKE_${language}_FLAGS_INIT "-B ${QEL_CROSS_TOOLS}")
  # A universal archive: one plain archive per processor, which ar cannot make.
  set(CMAKE_${language}_CREATE_STATIC_LIBRARY "${QEL_LIBTOOL} -static -o <TARGET> <OBJECTS>")
endforeach()
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT} -stdlib=libc++")
set(CMAKE_OBJCXX_FLAGS_INIT "${CMAKE_OBJCXX_FLAGS_INIT} -stdlib=libc++")
# The version of Apple's linker whose options lld understands.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=${QEL_LD64} -mlinker-version=609")

set(CMAKE_FIND_ROOT_PATH ${CMAKE_OSX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
