# SPDX-License-Identifier: Apache-2.0
# z/Architecture, 64-bit: the big-endian one.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(ARVESSA_TRIPLET s390x-linux-gnu)
set(ARVESSA_TARGET_FLAGS "-march=zEC12")
set(ARVESSA_EMULATOR qemu-s390x -cpu max)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
