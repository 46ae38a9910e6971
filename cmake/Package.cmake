# Packages for Debian and its relatives: cpack, or scripts/package, which also checks them. quorvik holds the programs; quorvik-overlay,
# where it is built, the window at the top of the screen, so that a machine without a desktop does not have to install Qt. Programs,
# completions, manual pages and the unit are those of every installation; what only Debian wants, below share/doc, is added here.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()

# The unit names the program by the folder that is known at the installation. Below /usr the system looks for units in lib, below a
# home folder in share.
install(CODE "
  set(QUORVIK_ISLAND \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/quorvik-island\")
  set(units share/systemd/user)
  if(CMAKE_INSTALL_PREFIX MATCHES \"^/usr\")
    set(units lib/systemd/user)
  endif()
  configure_file(\"${PROJECT_SOURCE_DIR}/packaging/quorvik.service.in\" \"${CMAKE_BINARY_DIR}/quorvik.service\" @ONLY)
  file(INSTALL \"${CMAKE_BINARY_DIR}/quorvik.service\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/\${units}\")
")

find_program(QUORVIK_DPKG dpkg)
if(NOT QUORVIK_DPKG)
  return()
endif()

set(QUORVIK_MAINTAINER "The Quorvik developers <developers@quorvik.dev>" CACHE STRING "Name and address in the Debian package")
set(docs ${CMAKE_BINARY_DIR}/debian)
file(READ ${PROJECT_SOURCE_DIR}/packaging/debian/copyright copyright)
foreach(library libpcre2-dev libutf8proc-dev nlohmann-json3-dev libuv1-dev libncurses-dev libcli11-dev libc6-dev libgcc-12-dev)
  if(EXISTS /usr/share/doc/${library}/copyright)
    file(READ /usr/share/doc/${library}/copyright terms)
    string(APPEND copyright "\n\n======== ${library} ========\n\n${terms}")
  endif()
endforeach()
file(WRITE ${docs}/copyright "${copyright}")
execute_process(COMMAND date -u -R -d "${QUORVIK_VERSION_DATE}" OUTPUT_VARIABLE day OUTPUT_STRIP_TRAILING_WHITESPACE)
file(WRITE ${docs}/changelog "quorvik (${PROJECT_VERSION}) unstable; urgency=medium

  * What is new stands in CHANGELOG.md.gz beside this file.

 -- ${QUORVIK_MAINTAINER}  ${day}
")
configure_file(CHANGELOG.md ${docs}/CHANGELOG.md COPYONLY)
install(CODE "
  foreach(file changelog CHANGELOG.md)
    execute_process(COMMAND \"${QUORVIK_GZIP}\" -9nkf \"${docs}/\${file}\" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  set(data \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}\")
  file(INSTALL \"${docs}/copyright\" \"${docs}/changelog.gz\" \"${docs}/CHANGELOG.md.gz\" DESTINATION \"\${data}/doc/quorvik\")
  file(INSTALL \"${PROJECT_SOURCE_DIR}/packaging/debian/lintian-overrides\" DESTINATION \"\${data}/lintian/overrides\"
    RENAME quorvik)
" COMPONENT debian EXCLUDE_FROM_ALL)
install(CODE "
  set(folder \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}/doc\")
  file(MAKE_DIRECTORY \"\${folder}\")
  file(CREATE_LINK quorvik \"\${folder}/quorvik-overlay\" SYMBOLIC)
" COMPONENT debian_overlay EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvik)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL programs debian)
set(CPACK_COMPONENT_PROGRAMS_GROUP quorvik)
set(CPACK_COMPONENT_DEBIAN_GROUP quorvik)
set(CPACK_SET_DESTDIR ON) # the install scripts are to see /usr, and not a folder of the build's
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QUORVIK_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_QUORVIK_PACKAGE_NAME quorvik)
set(CPACK_DEBIAN_QUORVIK_DESCRIPTION "tells what your coding agents, commands and services are doing
Coding agents, long commands, services, repositories and builds report to
one small app per user. The island shows them in a terminal or a status bar,
and what agents ask is answered there without switching windows.")
set(CPACK_DEBIAN_QUORVIK_PACKAGE_SUGGESTS "quorvik-overlay, tmux, lsof, zsh")
if(TARGET quorvik-overlay)
  list(APPEND CPACK_COMPONENTS_ALL overlay debian_overlay)
  set(CPACK_COMPONENT_OVERLAY_GROUP overlay)
  set(CPACK_COMPONENT_DEBIAN_OVERLAY_GROUP overlay)
  set(CPACK_DEBIAN_OVERLAY_PACKAGE_NAME quorvik-overlay)
  set(CPACK_DEBIAN_OVERLAY_DESCRIPTION "Quorvik's island at the top of the screen
A window shows what coding agents, long commands, services, repositories and
builds are doing, and lets you answer what agents ask with a click.")
  set(CPACK_DEBIAN_OVERLAY_PACKAGE_DEPENDS "quorvik (= ${PROJECT_VERSION})")
endif()
include(CPack)
