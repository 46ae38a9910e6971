# What the programs bring along besides themselves, made by quorvik-island at build time below ${CMAKE_BINARY_DIR}/share, in the
# folders in which it is installed: manual pages, and completions under the name of each program, by which shells find them.
# For packages: QUORVIK_PROGRAMS are the programs that are built and installed, QUORVIK_SHARE_FILES what is made here.
set(QUORVIK_SHARE_FILES "")
if(CMAKE_CROSSCOMPILING)
  return() # the program does not run here
endif()

set(share ${CMAKE_BINARY_DIR}/share)
find_program(QUORVIK_GZIP gzip REQUIRED)
# quorvik_made(FILE WORD...): FILE, below share, is what quorvik-island prints for these words.
function(quorvik_made file)
  add_custom_command(OUTPUT ${share}/${file} VERBATIM DEPENDS quorvik-island
    COMMAND quorvik-island ${ARGN} > ${share}/${file} COMMENT "Writing share/${file}")
  set(QUORVIK_SHARE_FILES ${QUORVIK_SHARE_FILES} ${share}/${file} PARENT_SCOPE)
endfunction()

foreach(folder man/man1 bash-completion/completions zsh/site-functions fish/vendor_completions.d)
  file(MAKE_DIRECTORY ${share}/${folder})
endforeach()
foreach(program IN LISTS QUORVIK_PROGRAMS)
  quorvik_made(man/man1/${program}.1 man ${program})
  quorvik_made(bash-completion/completions/${program} completion bash ${program})
  quorvik_made(zsh/site-functions/_${program} completion zsh ${program})
  quorvik_made(fish/vendor_completions.d/${program}.fish completion fish ${program})
endforeach()
add_custom_target(quorvik_share ALL DEPENDS ${QUORVIK_SHARE_FILES})

# With the program they are of, so that a package of its own takes them along. Debian's zsh looks for what packages bring in a folder
# of its own.
foreach(program IN LISTS QUORVIK_PROGRAMS)
  quorvik_component(component ${program})
  install(CODE "
    set(share \"${share}\")
    set(data \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATAROOTDIR}\")
    set(zsh site-functions)
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\" AND EXISTS /etc/debian_version)
      set(zsh vendor-completions)
    endif()
    file(INSTALL \"\${share}/bash-completion/completions/${program}\" DESTINATION \"\${data}/bash-completion/completions\")
    file(INSTALL \"\${share}/fish/vendor_completions.d/${program}.fish\" DESTINATION \"\${data}/fish/vendor_completions.d\")
    file(INSTALL \"\${share}/zsh/site-functions/_${program}\" DESTINATION \"\${data}/zsh/\${zsh}\")
    execute_process(COMMAND \"${QUORVIK_GZIP}\" -9nkf \"\${share}/man/man1/${program}.1\" COMMAND_ERROR_IS_FATAL ANY)
    file(INSTALL \"\${share}/man/man1/${program}.1.gz\" DESTINATION \"\${data}/man/man1\")
  " COMPONENT ${component})
endforeach()
