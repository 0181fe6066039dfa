# SPDX-License-Identifier: Apache-2.0
# ARMv7-A with a VFP unit of 16 registers and without NEON, in Thumb code.
set(CMAKE_SYSTEM_PROCESSOR armv7-a)
set(ARVESSA_TRIPLET arm-linux-gnueabihf)
set(ARVESSA_TARGET_FLAGS "-march=armv7-a -mfpu=vfpv3-d16 -mfloat-abi=hard -mthumb")
set(ARVESSA_EMULATOR qemu-arm -cpu cortex-a9,neon=off)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
