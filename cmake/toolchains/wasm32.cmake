# SPDX-License-Identifier: Apache-2.0
# WebAssembly by Debian's Clang and wasi-libc, without vector instructions. node runs the tests.
# The compiler has a version in its name: another would write another page (web/).
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_C_COMPILER clang-14)
set(CMAKE_CXX_COMPILER clang++-14)
set(CMAKE_C_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# For the test programs: GoogleTest wants signals and clocks, and cannot redirect descriptors here.
# At -O0 the linker's driver leaves out wasm-opt, should there be one on the path.
set(CMAKE_CXX_FLAGS_INIT
    "-D_WASI_EMULATED_SIGNAL -D_WASI_EMULATED_PROCESS_CLOCKS -DGTEST_HAS_STREAM_REDIRECTION=0")
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-O0 -Wl,-z,stack-size=1048576 -lwasi-emulated-signal -lwasi-emulated-process-clocks \
-Wl,--allow-undefined-file=${CMAKE_CURRENT_LIST_DIR}/wasm32_imports.txt")
set(gtest_disable_pthreads ON)
set(ARVESSA_GTEST_SOURCE /usr/src/googletest)

set(CMAKE_FIND_ROOT_PATH /usr/lib/wasm32-wasi)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR node ${CMAKE_CURRENT_LIST_DIR}/../run_wasi.mjs)
