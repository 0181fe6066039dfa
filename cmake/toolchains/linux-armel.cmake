# SPDX-License-Identifier: Apache-2.0
# ARMv5TE: the DSP extension, no floating-point unit. Every float operation is a call into the
# compiler's runtime. The emulated processor has no such unit either, and traps if one is used.
set(CMAKE_SYSTEM_PROCESSOR armv5te)
set(ARVESSA_TRIPLET arm-linux-gnueabi)
set(ARVESSA_TARGET_FLAGS "-march=armv5te -mfloat-abi=soft")
set(ARVESSA_EMULATOR qemu-arm -cpu arm946)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
