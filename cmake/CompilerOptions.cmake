# What every target of the project is compiled and linked with: target quorvik_options.
add_library(quorvik_options INTERFACE)
target_include_directories(quorvik_options INTERFACE ${PROJECT_SOURCE_DIR}/Sources)
target_compile_options(quorvik_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Werror
  -Wno-missing-field-initializers # designated initialisers name what matters
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wnon-virtual-dtor>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 sees overlapping copies in "literal" + std::string (its bug 105651).
  target_compile_options(quorvik_options INTERFACE -Wno-restrict)
endif()

if(QUORVIK_SANITIZE)
  target_compile_options(quorvik_options INTERFACE
    -fsanitize=${QUORVIK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quorvik_options INTERFACE -fsanitize=${QUORVIK_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(quorvik_options INTERFACE -Wno-maybe-uninitialized) # instrumented code confuses it
  endif()
endif()
if(QUORVIK_PRECOMPILE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports copies inside its own library once that comes out of a precompiled header. Other builds have these warnings.
  target_compile_options(quorvik_options INTERFACE -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
endif()

if(QUORVIK_LIBFUZZER)
  target_compile_options(quorvik_options INTERFACE -fsanitize=fuzzer-no-link) # coverage of the library itself
endif()

if(QUORVIK_STATIC AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # Not position independent on purpose: a static-pie relocates itself at every start.
  set(QUORVIK_PROGRAM_LINK_OPTIONS -static -Wl,--gc-sections)
  target_link_options(quorvik_options INTERFACE -no-pie)
  target_compile_options(quorvik_options INTERFACE -ffunction-sections -fdata-sections
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:QUORVIK_USES_QT>>>:-fno-pie>)
endif()

find_package(Threads REQUIRED)
target_link_libraries(quorvik_options INTERFACE Threads::Threads)

# quorvik_precompile(TARGET [OTHER]): as OTHER's, which is compiled with the same options, or its own.
function(quorvik_precompile target)
  if(NOT QUORVIK_PRECOMPILE)
    return()
  elseif(ARGN)
    target_precompile_headers(${target} REUSE_FROM ${ARGN})
  else()
    target_precompile_headers(${target} PRIVATE <nlohmann/json.hpp> <algorithm> <array> <chrono> <filesystem> <functional>
      <map> <memory> <optional> <set> <string> <string_view> <vector>)
  endif()
endfunction()
