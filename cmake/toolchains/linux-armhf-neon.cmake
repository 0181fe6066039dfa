# SPDX-License-Identifier: Apache-2.0
# ARMv7-A with VFP and NEON, in Thumb code. NEON flushes denormal floats to zero here.
set(CMAKE_SYSTEM_PROCESSOR armv7-a)
set(ARVESSA_TRIPLET arm-linux-gnueabihf)
set(ARVESSA_TARGET_FLAGS "-march=armv7-a -mfpu=neon -mfloat-abi=hard -mthumb")
set(ARVESSA_EMULATOR qemu-arm -cpu cortex-a9)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
