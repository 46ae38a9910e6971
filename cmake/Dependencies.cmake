# The libraries we stand on. The core: PCRE2 (8 bit, Unicode), utf8proc, nlohmann/json, libplist. The app: libuv, ncurses (wide),
# CLI11. Where it is found, libcurl, for a program of its own. Static archives are preferred where both exist, so that a program carries what it needs.
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
if(APPLE)
  # Programs there depend on the system's own libraries only: with Homebrew's shared ones, the upgrade that removes this
  # version would end every agent's hook before it starts.
  if(NOT pcre2_LIBRARY MATCHES "\\.a$")
    message(FATAL_ERROR "PCRE2 is here as a shared library only (${pcre2_LIBRARY}); the programs need libpcre2-8.a.")
  endif()
  find_library(utf8proc_LIBRARY NAMES libutf8proc.a utf8proc REQUIRED)
endif()
if(APPLE AND NOT utf8proc_LIBRARY MATCHES "\\.a$")
  file(GLOB source ${PROJECT_SOURCE_DIR}/build/sources/utf8proc-*/utf8proc.c)
  cmake_path(GET source PARENT_PATH folder)
  set(QUORVIK_UTF8PROC_SOURCE "${folder}" CACHE PATH "The folder of utf8proc.c, where utf8proc is a shared library only")
  if(NOT EXISTS ${QUORVIK_UTF8PROC_SOURCE}/utf8proc.c)
    message(FATAL_ERROR "utf8proc is here as a shared library only (${utf8proc_LIBRARY}); scripts/setup fetches its source.")
  endif()
  add_library(utf8proc_source STATIC ${QUORVIK_UTF8PROC_SOURCE}/utf8proc.c)
  target_include_directories(utf8proc_source SYSTEM PUBLIC ${QUORVIK_UTF8PROC_SOURCE})
  target_compile_definitions(utf8proc_source PUBLIC UTF8PROC_STATIC)
  add_library(quorvik::utf8proc ALIAS utf8proc_source)
else()
  quorvik_find_library(utf8proc utf8proc.h utf8proc)
  set_property(TARGET quorvik::utf8proc PROPERTY INTERFACE_COMPILE_DEFINITIONS UTF8PROC_STATIC)
endif()

find_path(NLOHMANN_JSON_INCLUDE nlohmann/json.hpp REQUIRED)
add_library(quorvik::json INTERFACE IMPORTED)
set_property(TARGET quorvik::json PROPERTY INTERFACE_INCLUDE_DIRECTORIES ${NLOHMANN_JSON_INCLUDE})
quorvik_find_library(plist plist/plist.h plist-2.0)
# Whether the app shows Xcode's builds: where libplist can be linked as the programs are.
set(xcode ON)
if((QUORVIK_STATIC OR APPLE) AND NOT plist_LIBRARY MATCHES "\\.a$")
  set(xcode OFF)
endif()
option(QUORVIK_XCODE "Let the app read Xcode's logs, with libplist" ${xcode})

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

# Optional. Always the shared library: the static one needs more libraries than Debian has as archives.
find_path(curl_INCLUDE curl/curl.h)
find_library(curl_LIBRARY curl)
if(curl_INCLUDE AND curl_LIBRARY)
  add_library(quorvik::curl UNKNOWN IMPORTED)
  set_target_properties(quorvik::curl PROPERTIES
    IMPORTED_LOCATION ${curl_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${curl_INCLUDE})
endif()

# Optional, for the overlay alone; the same for the protocol by which Wayland places such windows (5.x is for Qt 5). The fuzz
# targets and the cross-build for macOS do without.
if(QUORVIK_OVERLAY)
  find_package(Qt6 6.4 QUIET COMPONENTS Widgets)
  find_package(LayerShellQt 6 QUIET)
  find_path(xcb_INCLUDE xcb/xcb.h)
  find_library(xcb_LIBRARY xcb)
endif()
