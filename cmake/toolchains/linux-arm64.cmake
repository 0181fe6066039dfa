# SPDX-License-Identifier: Apache-2.0
# ARMv8-A, 64-bit. It has fused multiply-add, which a compiler may use unless told not to.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ARVESSA_TRIPLET aarch64-linux-gnu)
set(ARVESSA_TARGET_FLAGS "-march=armv8-a")
set(ARVESSA_EMULATOR qemu-aarch64 -cpu cortex-a53)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
