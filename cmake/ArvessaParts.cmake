# SPDX-License-Identifier: Apache-2.0
# Parts that need more than a compiler. A part's option is ON, where its packages are there; OFF; or
# REQUIRED, where a missing package is an error.

# arvessa_option(<option> <description> <default>): the option in the cache.
macro(arvessa_option option description default)
  set(${option} ${default} CACHE STRING "${description}: ON if its packages are there, OFF, REQUIRED")
  set_property(CACHE ${option} PROPERTY STRINGS ON OFF REQUIRED)
endmacro()

# arvessa_part(<option> <name> [<missing Debian package>...]): sets the option to ON, or says what is
# missing and sets it to OFF.
function(arvessa_part option name)
  if(NOT ARGN)
    set(${option} ON PARENT_SCOPE)
    return()
  endif()
  list(JOIN ARGN ", " packages)
  if(${option} STREQUAL "REQUIRED")
    message(FATAL_ERROR "${name}: needs the Debian packages ${packages}")
  endif()
  message(STATUS "${name}: left out, needs the Debian packages ${packages}")
  set(${option} OFF PARENT_SCOPE)
endfunction()

# arvessa_find_library(<target> <library> <header>): an imported target if both are found; else
# <target>_FOUND is false.
function(arvessa_find_library target library header)
  find_library(${target}_LIBRARY ${library})
  find_path(${target}_INCLUDE ${header})
  mark_as_advanced(${target}_LIBRARY ${target}_INCLUDE)
  if(NOT ${target}_LIBRARY OR NOT ${target}_INCLUDE)
    set(${target}_FOUND FALSE PARENT_SCOPE)
    return()
  endif()
  set(${target}_FOUND TRUE PARENT_SCOPE)
  if(NOT TARGET ${target})
    add_library(${target} UNKNOWN IMPORTED)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION "${${target}_LIBRARY}"
                                               INTERFACE_INCLUDE_DIRECTORIES "${${target}_INCLUDE}")
  endif()
endfunction()
