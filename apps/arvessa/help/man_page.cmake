# SPDX-License-Identifier: Apache-2.0
# The man page arvessa.1 out of what the command says of itself: help2man on its help, and on that of
# each of its commands, which become sections of the one page.
#
# usage: cmake -D HELP2MAN=program -D COMMAND=arvessa -D PAGE=arvessa.1 -P man_page.cmake
cmake_minimum_required(VERSION 3.25)

function(page_of result)
  execute_process(COMMAND ${HELP2MAN} --no-info ${ARGN} ${COMMAND} OUTPUT_VARIABLE page
                          COMMAND_ERROR_IS_FATAL ANY)
  # Examples are lines, not a paragraph.
  string(REGEX REPLACE "(\n\\.SH EXAMPLES\n)(.*\n)(\\.PP\n|\$)" "\\1.nf\n\\2.fi\n\\3" page "${page}")
  string(REGEX REPLACE "\n\\.IP\n((arvessa|arecord|aplay) )" "\n\\1" page "${page}")
  set(${result} "${page}" PARENT_SCOPE)
endfunction()

execute_process(COMMAND ${COMMAND} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ".*\nSubcommands:\n(.*)\n\n(Examples:).*" "\\1" list "${help}")
string(REGEX MATCHALL "(^|\n)  [a-z]+" names "${list}")

set(sections ${PAGE}.sections)
file(WRITE ${sections} "")
foreach(name IN LISTS names)
  string(STRIP "${name}" name)
  if(name STREQUAL "help")
    continue()
  endif()
  page_of(page "--help-option=${name} --help")
  string(REGEX REPLACE ".*\n\\.SH SYNOPSIS\n" "" page "${page}")
  string(REGEX REPLACE "\n\\.SH ([A-Z ]+)" "\n.SS \\1" page "${page}")
  file(APPEND ${sections} "[arvessa ${name}]\n${page}\n")
endforeach()
page_of(page "--name=clean speech out of one or two microphones" --include=${sections})
file(WRITE ${PAGE} "${page}")
file(REMOVE ${sections})
