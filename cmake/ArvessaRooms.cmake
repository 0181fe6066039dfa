# SPDX-License-Identifier: Apache-2.0
# arvessa_room(<target> <folder> SOURCES <file>... [USES <room target>...])
#
# A folder of sources as an OBJECT library that is compiled with the project's options; without
# SOURCES an INTERFACE library, for a folder of headers. Files are named relative to the folder,
# <folder> relative to the current one.
#
# Includes name the room: "audio_io/source.h". The folder stands alone in a directory of the build
# tree, as a symbolic link, and that directory is the room's include path. So a room and what is
# built on it sees this room and the rooms that it USES, directly or through others, and no
# neighbour in the same parent folder: an include that points up does not compile.
#
# A room brings its include path and its libraries to whoever links it, its objects only to whoever
# links it directly: a program or shared library names every room that it consists of.
function(arvessa_room target folder)
  cmake_parse_arguments(PARSE_ARGV 2 room "" "" "SOURCES;USES")
  if(room_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "arvessa_room(${target}): unknown arguments ${room_UNPARSED_ARGUMENTS}")
  endif()

  set(view ${PROJECT_BINARY_DIR}/rooms/${target})
  cmake_path(GET folder PARENT_PATH above)
  file(REMOVE_RECURSE ${view})
  file(MAKE_DIRECTORY ${view}/${above})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR}/${folder} ${view}/${folder} SYMBOLIC)

  if(room_SOURCES)
    list(TRANSFORM room_SOURCES PREPEND ${folder}/)
    add_library(${target} OBJECT ${room_SOURCES})
    set(scope PUBLIC)
    arvessa_compile_options(${target})
    arvessa_numeric_options(${target})
  else()
    add_library(${target} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_include_directories(${target} ${scope} ${view})
  target_link_libraries(${target} ${scope} ${room_USES})
endfunction()
