# SPDX-License-Identifier: Apache-2.0
# How the project's code is compiled: arvessa_compile_options(TARGET) for everything that we write,
# arvessa_numeric_options(TARGET) for everything that computes samples, and
# arvessa_scalar_floats(SOURCE...) for the sources that do so in float.
include(CheckCXXSourceCompiles)

set(ARVESSA_SANITIZE "" CACHE STRING "Sanitizers for every target, such as address,undefined")
option(ARVESSA_WERROR "Treat warnings as errors" ${PROJECT_IS_TOP_LEVEL})

if(ARVESSA_SANITIZE)
  add_compile_options(-fsanitize=${ARVESSA_SANITIZE} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ARVESSA_SANITIZE})
endif()

if(ARVESSA_FUZZ STREQUAL "coverage")
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
elseif(ARVESSA_FUZZ STREQUAL "libFuzzer")
  # Every comparison of the arithmetic would be traced, which takes most of the time.
  add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-coverage=trace-cmp)
endif()

function(arvessa_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                           -Wsign-conversion -Wundef -Wvla)
  if(ARVESSA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# The order and the rounding of every float operation are part of the result: no fused
# multiply-add, no wider registers than the type.
set(ARVESSA_NUMERIC_OPTIONS -ffp-contract=off -fno-fast-math)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i[3-6]86$")
  list(APPEND ARVESSA_NUMERIC_OPTIONS -msse2 -mfpmath=sse)
endif()
function(arvessa_numeric_options target)
  target_compile_options(${target} PRIVATE ${ARVESSA_NUMERIC_OPTIONS})
endfunction()

# On 32-bit ARM the vector unit flushes denormal floats to zero, and the scalar unit does not. Clang
# vectorises neighbouring float operations even so; without the vector unit it cannot.
check_cxx_source_compiles(
  "#if !(defined(__arm__) && defined(__ARM_NEON))
#error
#endif
int main() {}"
  ARVESSA_FLUSHING_VECTORS)
function(arvessa_scalar_floats)
  if(ARVESSA_FLUSHING_VECTORS)
    set_property(
      SOURCE ${ARGN}
      APPEND
      PROPERTY COMPILE_OPTIONS -mfpu=vfpv3-d16)
  endif()
endfunction()
