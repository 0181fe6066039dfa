# SPDX-License-Identifier: Apache-2.0
# The shared library once more, from the same sources and with the same name, for processors of
# level x86-64-v3 (AVX2, BMI, FMA). It is installed in a folder that the loader of the GNU C library
# looks into first on such a processor; the library itself chooses nothing. Same bits: products and
# sums stay unfused.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-march=x86-64-v3 ARVESSA_COMPILER_HAS_V3)
set(has_v3 OFF)
if(PROJECT_IS_TOP_LEVEL
   AND ARVESSA_COMPILER_HAS_V3
   AND CMAKE_SYSTEM_NAME STREQUAL "Linux"
   AND CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(has_v3 ON)
endif()
option(ARVESSA_HWCAPS "Also build the shared library for x86-64-v3, for the loader to choose" ${has_v3})
if(NOT ARVESSA_HWCAPS OR ARVESSA_SANITIZE)
  return()
endif()

add_library(ArvessaV3 SHARED)
foreach(room IN LISTS ARVESSA_ROOMS)
  get_target_property(sources ${room} SOURCES)
  target_sources(ArvessaV3 PRIVATE ${sources})
endforeach()
# Of the top room, which sees all others; the options of all rooms are the same.
foreach(property COMPILE_DEFINITIONS COMPILE_OPTIONS INCLUDE_DIRECTORIES)
  set_property(TARGET ArvessaV3 PROPERTY ${property} $<TARGET_PROPERTY:arvessa_abi,${property}>)
endforeach()
foreach(property CXX_VISIBILITY_PRESET VISIBILITY_INLINES_HIDDEN)
  get_target_property(value arvessa_abi ${property})
  set_property(TARGET ArvessaV3 PROPERTY ${property} ${value})
endforeach()
foreach(property OUTPUT_NAME LINKER_LANGUAGE LINK_DEPENDS LINK_OPTIONS)
  get_target_property(value Arvessa ${property})
  set_property(TARGET ArvessaV3 PROPERTY ${property} ${value})
endforeach()
target_compile_options(ArvessaV3 PRIVATE -march=x86-64-v3)
# Beside the other one's folder, not below it: the tests load what they are built for.
set_target_properties(
  ArvessaV3 PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/x86-64-v3
                       EXPORT_COMPILE_COMMANDS OFF)
if(ARVESSA_BEAMS)
  add_dependencies(ArvessaV3 arvessa_beamformer)  # which writes its table
endif()
