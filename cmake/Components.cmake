# An installation puts everything into one place. Packages are made of its components: programs, for which no library has to be
# installed that a server would not have, and the overlay, which needs Qt.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME programs)

# quorvik_component(VARIABLE PROGRAM): sets VARIABLE to the component that PROGRAM belongs to.
function(quorvik_component variable program)
  set(component ${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME})
  if(program STREQUAL quorvik-overlay)
    set(component overlay)
  endif()
  set(${variable} ${component} PARENT_SCOPE)
endfunction()
