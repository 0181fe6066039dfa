# SPDX-License-Identifier: Apache-2.0
# 32-bit x86 with SSE2. Its older floating-point unit computes in 80 bits and is not used.
set(CMAKE_SYSTEM_PROCESSOR i686)
set(ARVESSA_TRIPLET i686-linux-gnu)
set(ARVESSA_TARGET_FLAGS "-march=i686")
set(ARVESSA_EMULATOR qemu-i386 -cpu coreduo)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
