# SPDX-License-Identifier: Apache-2.0
# What the toolchain files have in common: Debian's cross compilers, and QEMU's user emulation to
# run what they build. A toolchain file sets, and then includes this one:
#
#   CMAKE_SYSTEM_PROCESSOR  the target's processor
#   ARVESSA_TRIPLET         Debian's name for the target, which its compilers and its root carry
#   ARVESSA_TARGET_FLAGS    the instruction set, in options that GCC and Clang understand
#   ARVESSA_EMULATOR        the emulator with the processor that it shall be
#
# -DARVESSA_CROSS_CLANG=ON compiles with Clang instead of GCC.
set(CMAKE_SYSTEM_NAME Linux)
option(ARVESSA_CROSS_CLANG "Cross-compile with Clang, by Debian's cross binutils and libraries" OFF)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ARVESSA_CROSS_CLANG)

if(ARVESSA_CROSS_CLANG)
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_C_COMPILER_TARGET ${ARVESSA_TRIPLET})
  set(CMAKE_CXX_COMPILER_TARGET ${ARVESSA_TRIPLET})
else()
  set(CMAKE_C_COMPILER ${ARVESSA_TRIPLET}-gcc)
  set(CMAKE_CXX_COMPILER ${ARVESSA_TRIPLET}-g++)
endif()
set(CMAKE_C_FLAGS_INIT "${ARVESSA_TARGET_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${ARVESSA_TARGET_FLAGS}")

# Libraries and headers of the target only: what is installed for the build machine does not fit.
set(CMAKE_FIND_ROOT_PATH /usr/${ARVESSA_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The path keeps the target's loader from the build machine's own libraries: of two processors that
# are close relatives, it would take those.
set(CMAKE_CROSSCOMPILING_EMULATOR ${ARVESSA_EMULATOR} -L /usr/${ARVESSA_TRIPLET} -E
                                  LD_LIBRARY_PATH=/usr/${ARVESSA_TRIPLET}/lib)
# Debian ships GoogleTest compiled for the build machine, and in sources for every other.
set(ARVESSA_GTEST_SOURCE /usr/src/googletest)
