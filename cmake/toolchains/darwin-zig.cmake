# Cross-compiles to arm64 macOS on Linux with the compiler, headers and linker of the Zig toolchain.
#
# scripts/check-darwin downloads that toolchain, builds the libraries for it and configures with this file. It keeps both in
# one folder, named by QUORVIK_DARWIN_CACHE:
#   bin/     wrappers for the compilers and archive tools, which know the target
#   prefix/  the third-party headers and libraries built for the target, and nothing else

# A cache variable rather than an environment variable, so that a build tree keeps the folder it was configured with when
# ninja runs CMake again from another shell.
if(NOT QUORVIK_DARWIN_CACHE)
  if(NOT "$ENV{QUORVIK_CACHE}" STREQUAL "")
    set(QUORVIK_DARWIN_CACHE "$ENV{QUORVIK_CACHE}/darwin")
  else()
    set(QUORVIK_DARWIN_CACHE "$ENV{HOME}/.cache/quorvik/darwin")
  endif()
endif()
set(QUORVIK_DARWIN_CACHE "${QUORVIK_DARWIN_CACHE}" CACHE PATH "The folder that scripts/check-darwin prepares")

# try_compile configures projects of its own, which read this file again with a cache that knows only what is listed here.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUORVIK_DARWIN_CACHE)

if(NOT EXISTS "${QUORVIK_DARWIN_CACHE}/bin/zig-c++")
  message(FATAL_ERROR "No toolchain in ${QUORVIK_DARWIN_CACHE}: run scripts/check-darwin, which prepares it.")
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)
# macOS 13.3. CMake derives from the Darwin version which linker flags it may use.
set(CMAKE_SYSTEM_VERSION 22.4.0)

set(CMAKE_C_COMPILER "${QUORVIK_DARWIN_CACHE}/bin/zig-cc")
set(CMAKE_CXX_COMPILER "${QUORVIK_DARWIN_CACHE}/bin/zig-c++")
set(CMAKE_AR "${QUORVIK_DARWIN_CACHE}/bin/zig-ar" CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB "${QUORVIK_DARWIN_CACHE}/bin/zig-ranlib" CACHE FILEPATH "Archive indexer")
# CMake stops without this tool. It would edit the library paths of installed programs; these link nothing but static
# libraries and libSystem, so there is nothing to edit, and a call should fail rather than pretend.
set(CMAKE_INSTALL_NAME_TOOL "/bin/false" CACHE FILEPATH "Unused")

# The wrappers name the target, its version and so its headers. Left unset, these would be taken from the environment and
# passed on as flags that contradict them.
set(CMAKE_OSX_SYSROOT "" CACHE STRING "Zig has its own")
set(CMAKE_OSX_ARCHITECTURES "" CACHE STRING "Part of the target")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "Part of the target" FORCE)

# The host's headers and libraries have the same names as the target's: never look at them, only run the host's programs.
set(CMAKE_FIND_ROOT_PATH "${QUORVIK_DARWIN_CACHE}/prefix")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${QUORVIK_DARWIN_CACHE}/prefix/lib/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "")

# By default the list of tests is read from the test program right after it is linked, which cannot run here.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
