# SPDX-License-Identifier: Apache-2.0
# RISC-V, 64-bit, with the general-purpose extensions, fused multiply-add among them.
set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(ARVESSA_TRIPLET riscv64-linux-gnu)
set(ARVESSA_TARGET_FLAGS "-march=rv64gc -mabi=lp64d")
set(ARVESSA_EMULATOR qemu-riscv64 -cpu rv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian_cross.cmake)
