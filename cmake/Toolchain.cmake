# Language level, warnings, sanitizers and, on Linux, GNUstep's Foundation on GCC's Objective-C runtime.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 17)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_OBJC_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

if(NOT CMAKE_OBJCXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "clang is the one compiler of this project; configure with a preset (cmake --preset dev)")
endif()

find_program(QEL_CCACHE ccache)
if(QEL_CCACHE)
  foreach(language C CXX OBJC OBJCXX)
    if(NOT CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER ${QEL_CCACHE})
    endif()
  endforeach()
endif()

if(QEL_TIDY)
  find_program(QEL_CLANG_TIDY NAMES clang-tidy-14 clang-tidy REQUIRED)
  foreach(language C CXX OBJC OBJCXX)
    set(CMAKE_${language}_CLANG_TIDY ${QEL_CLANG_TIDY})
  endforeach()
endif()

# Everything that is compiled here, product or not, gets these.
add_library(qel_options INTERFACE)
target_compile_options(qel_options INTERFACE -Wall -Wextra -Werror)
target_include_directories(qel_options INTERFACE ${PROJECT_SOURCE_DIR})
if(APPLE)
  # No path of this machine in what users get; refuse what the system denies to extensions.
  target_compile_options(qel_options INTERFACE -fapplication-extension
    -ffile-prefix-map=${PROJECT_BINARY_DIR}=build -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
  if(CMAKE_OSX_SYSROOT)
    target_compile_options(qel_options INTERFACE -ffile-prefix-map=${CMAKE_OSX_SYSROOT}=sdk)
  endif()
else()
  # A function that is looked up when it is first called finds the registers saved on the stack, and in them what was
  # copied last: a part of a PIN.
  target_link_options(qel_options INTERFACE -Wl,-z,now)
endif()

# For programs that read a PIN, where the language's libraries would still look up what they call when they first do.
add_library(qel_early_lookup INTERFACE)
if(NOT APPLE AND NOT QEL_SANITIZE)
  target_link_options(qel_early_lookup INTERFACE -static-libstdc++ -static-libgcc)
endif()

if(QEL_SANITIZE)
  target_compile_options(qel_options INTERFACE
    -fsanitize=${QEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(qel_options INTERFACE -fsanitize=${QEL_SANITIZE})
endif()
if(QEL_COVERAGE)
  target_compile_options(qel_options INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(qel_options INTERFACE -fprofile-instr-generate)
endif()

# Foundation and the Objective-C language, whoever provides them.
add_library(qel_foundation INTERFACE)
set(QEL_OBJC_DIALECT -fno-objc-arc -fexceptions -fobjc-exceptions)
if(APPLE)
  target_link_libraries(qel_foundation INTERFACE "-framework Foundation")
else()
  find_package(GNUstep REQUIRED)
  list(APPEND QEL_OBJC_DIALECT
    -fobjc-runtime=gcc -fconstant-string-class=NSConstantString
    -D_NATIVE_OBJC_EXCEPTIONS -DGNUSTEP -DGNUSTEP_BASE_LIBRARY=1 -DGNU_RUNTIME=1
    "SHELL:-isystem ${GNUSTEP_INCLUDE_DIR}" "SHELL:-idirafter ${GNUSTEP_RUNTIME_INCLUDE_DIR}")
  target_link_libraries(qel_foundation INTERFACE ${GNUSTEP_BASE_LIBRARY} ${GNUSTEP_RUNTIME_LIBRARY})
endif()
target_compile_options(qel_foundation INTERFACE
  "$<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${QEL_OBJC_DIALECT}>")

# Apple's surface: the SDK on macOS, platform/ on Linux. The seam is the include path.
add_library(qel_apple INTERFACE)
target_link_libraries(qel_apple INTERFACE qel_foundation)
if(APPLE)
  target_link_libraries(qel_apple INTERFACE "-framework CryptoTokenKit" "-framework Security")
else()
  target_link_libraries(qel_apple INTERFACE qel_platform)
endif()

# What <pthread.h> lacks on other systems than macOS, for plain C++.
add_library(qel_threads INTERFACE)
if(NOT APPLE)
  target_link_libraries(qel_threads INTERFACE qel_platform_threads)
endif()
