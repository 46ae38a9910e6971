# The libraries we stand on. The core: PCRE2 (8 bit, Unicode), utf8proc, nlohmann/json, libplist. The app: libuv, ncurses (wide),
# CLI11. Static archives are preferred where both exist, so that a program carries what it needs.
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

# Debian names the archive libuv_a.a, Homebrew libuv.a.
find_path(uv_INCLUDE uv.h REQUIRED)
find_library(uv_LIBRARY NAMES libuv_a.a libuv.a uv REQUIRED)
add_library(quorvik::libuv UNKNOWN IMPORTED)
set_target_properties(quorvik::libuv PROPERTIES
  IMPORTED_LOCATION ${uv_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${uv_INCLUDE}
  INTERFACE_LINK_LIBRARIES "Threads::Threads;${CMAKE_DL_LIBS}")

# macOS has it as a system library, wide under the plain name; Debian's archive needs the terminal descriptions beside it.
if(APPLE)
  quorvik_find_library(ncurses curses.h ncurses)
else()
  quorvik_find_library(ncurses curses.h ncursesw)
  find_library(tinfo_LIBRARY NAMES libtinfo.a tinfo REQUIRED)
  set_property(TARGET quorvik::ncurses PROPERTY INTERFACE_LINK_LIBRARIES ${tinfo_LIBRARY})
endif()
set_property(TARGET quorvik::ncurses PROPERTY INTERFACE_COMPILE_DEFINITIONS NCURSES_WIDECHAR=1)

find_path(CLI11_INCLUDE CLI/CLI.hpp REQUIRED)
add_library(quorvik::cli11 INTERFACE IMPORTED)
set_property(TARGET quorvik::cli11 PROPERTY INTERFACE_INCLUDE_DIRECTORIES ${CLI11_INCLUDE})
