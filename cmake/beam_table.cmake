# SPDX-License-Identifier: Apache-2.0
# The library's table of beam weights from a file of `arvessa beams`. Takes CMake alone, so that a
# build for another processor needs no program of this one.
#
# usage: cmake -D BEAMS=beams.csv -D SOURCE=beam_weights_tables.cpp -P cmake/beam_table.cmake
#        with GEOMETRY=stored_geometry.cpp for SOURCE, where the beams look and from where
cmake_minimum_required(VERSION 3.25)

file(STRINGS "${BEAMS}" lines)
set(number "-?[0-9]+(\\.[0-9]+)?(e[-+]?[0-9]+)?")
set(microphones "")
set(directions "")
set(count 0)
foreach(line IN LISTS lines)
  if(line MATCHES "^# microphones_mm: (.*)$")
    string(REPLACE " " "), (" microphones "(${CMAKE_MATCH_1})")
    string(REGEX REPLACE "[^, ]+" "\\0 / 1e3" metres "${CMAKE_MATCH_1}")
    string(REPLACE "1e3 " "1e3}, {" metres "{${metres}}")
  elseif(line MATCHES "^# directions_deg: (.*)$")
    string(REPLACE "," ", " directions "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^([0-2]),([0-9]+),([01]),(${number}),(${number})$")
    # An inner group shifts those after it: 4 and 7 are the parts.
    set(beam ${CMAKE_MATCH_1})
    set(bin ${CMAKE_MATCH_2})
    set(microphone ${CMAKE_MATCH_3})
    set(re ${CMAKE_MATCH_4})
    set(im ${CMAKE_MATCH_7})
    math(EXPR index "${beam} * 128 + ${bin} * 2 + ${microphone}")
    if(NOT index EQUAL count)
      message(FATAL_ERROR "${BEAMS}: expected weight ${count}, found: ${line}")
    endif()
    if(im MATCHES "^-(.*)$")
      string(APPEND conjugate_${beam} " ${re},${CMAKE_MATCH_1}")
    else()
      string(APPEND conjugate_${beam} " ${re},-${im}")
    endif()
    string(APPEND beam_${beam} " ${re},${im}")
    foreach(part re im)
      if(NOT ${part} MATCHES "[.e]")
        string(APPEND ${part} ".0")
      endif()
      math(EXPR column "${index} % 8")
      math(EXPR row "${index} % 128")
      if(row EQUAL 0)
        string(APPEND ${part}_table "\n  // beam ${beam}")
      endif()
      if(column EQUAL 0)
        string(APPEND ${part}_table "\n ")
      endif()
      string(APPEND ${part}_table " ${${part}}f,")
    endforeach()
    math(EXPR count "${count} + 1")
  elseif(NOT line MATCHES "^#" AND NOT line STREQUAL "beam,bin,microphone,re,im")
    message(FATAL_ERROR "${BEAMS}: not understood: ${line}")
  endif()
endforeach()
if(NOT count EQUAL 384 OR microphones STREQUAL "" OR directions STREQUAL "")
  message(FATAL_ERROR "${BEAMS}: ${count} weights of 384; `arvessa beams` writes such files")
endif()

set(conjugate false)
if(conjugate_0 STREQUAL beam_2)
  set(conjugate true)
endif()

if(DEFINED GEOMETRY)
  file(
    CONFIGURE
    OUTPUT "${GEOMETRY}"
    CONTENT
      "// SPDX-License-Identifier: Apache-2.0
#include \"beams/geometry.h\"

namespace arvessa::beams {

Geometry storedGeometry() { return {{{@metres@}}, {@directions@}}; }

}  // namespace arvessa::beams
"
    @ONLY)
  return()
endif()
file(
  CONFIGURE
  OUTPUT "${SOURCE}"
  CONTENT
    "// SPDX-License-Identifier: Apache-2.0
// Weights of the three stored beams. Written by cmake/beam_table.cmake from a file of `arvessa
// beams`; docs/beam_design.md has the design.
//
// Format: float, each value a decimal of five significant digits. W[s][k][m] is at s * 128 + 2k + m
// for beam s = 0..2, bin k = 0..63 of the packed half spectrum and microphone m = 0..1.
// Formula (superdirective MVDR, Capon 1969; Bitzer and Simmer 2001), with f = 62.5 (k + 1) Hz and
// c = 340 m/s:
//   W = (1 + (k + 1)/32) conj(h),  h = R^-1 d / (d^H R^-1 d)
//   d[m] = exp(j 2 pi f p[m].u / c), u the unit vector towards the source
//   R = [[1.1, g], [g, 1.1]],  g = sin(x)/x,  x = 2 pi f |p[1] - p[0]| / c
// Microphones: p[0], p[1] = @microphones@ mm.
// Directions: @directions@ degrees from the x axis.
#include \"beamformer/beam_weights_tables.h\"

extern \"C\" {

// clang-format off
const float MVDR_CONST_W_UP_OPT_REAL_TABLE[384] = {@re_table@
};

const float MVDR_CONST_W_UP_OPT_IMAGINARY_TABLE[384] = {@im_table@
};

// clang-format on

}  // extern \"C\"

namespace arvessa {

bool outerBeamsAreConjugate() { return @conjugate@; }

}  // namespace arvessa
"
  @ONLY)
