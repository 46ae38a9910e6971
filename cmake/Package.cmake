# A package for Debian and its relatives: cpack, or scripts/package, which also checks it. Programs, completions, manual pages and the
# unit are those of every installation; what only Debian wants, below share/doc, is added here.
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

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorvik)
set(CPACK_PACKAGE_VENDOR "")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tells what your coding agents, commands and services are doing")
set(CPACK_PACKAGE_DESCRIPTION "Coding agents, long commands, services, repositories and builds report to
one small app per user. The island shows them in a terminal or a status bar,
and what agents ask is answered there without switching windows.")
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};Quorvik;ALL;/;${CMAKE_BINARY_DIR};Quorvik;debian;/")
set(CPACK_SET_DESTDIR ON) # the install scripts are to see /usr, and not a folder of the build's
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QUORVIK_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "tmux, lsof, zsh")
include(CPack)
