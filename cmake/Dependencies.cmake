# The libraries we stand on: PCRE2 (8 bit, Unicode), utf8proc, nlohmann/json, libplist. Static archives are preferred where both
# exist, so that a program carries what it needs.
function(quorvik_find_library target header library)
  find_path(${target}_INCLUDE ${header} REQUIRED)
  find_library(${target}_LIBRARY NAMES ${CMAKE_STATIC_LIBRARY_PREFIX}${library}.a ${library} REQUIRED)
  add_library(quorvik::${target} UNKNOWN IMPORTED)
  set_target_properties(quorvik::${target} PROPERTIES
    IMPORTED_LOCATION ${${target}_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${${target}_INCLUDE})
endfunction()

quorvik_find_library(pcre2 pcre2.h pcre2-8)
set_property(TARGET quorvik::pcre2 PROPERTY INTERFACE_COMPILE_DEFINITIONS PCRE2_CODE_UNIT_WIDTH=8 PCRE2_STATIC)
quorvik_find_library(utf8proc utf8proc.h utf8proc)
set_property(TARGET quorvik::utf8proc PROPERTY INTERFACE_COMPILE_DEFINITIONS UTF8PROC_STATIC)

find_path(NLOHMANN_JSON_INCLUDE nlohmann/json.hpp REQUIRED)
add_library(quorvik::json INTERFACE IMPORTED)
set_property(TARGET quorvik::json PROPERTY INTERFACE_INCLUDE_DIRECTORIES ${NLOHMANN_JSON_INCLUDE})
quorvik_find_library(plist plist/plist.h plist-2.0)
quorvik_find_library(libuv uv.h uv_a)
target_link_libraries(quorvik::libuv INTERFACE ${CMAKE_DL_LIBS} Threads::Threads)
