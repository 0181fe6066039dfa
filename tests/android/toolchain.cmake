# SPDX-License-Identifier: Apache-2.0
# Stands where the NDK has its own toolchain file, so that the presets for Android find this one when
# ANDROID_NDK names a directory of link_check.py. Clang compiles for the platform with the options
# that the NDK uses, and links against stand-ins of the platform's libraries. Given:
#
#   ANDROID_ABI, ANDROID_PLATFORM, ANDROID_STL  as for the NDK
#   ARVESSA_STUBS   directory of the stand-ins libc.so, libm.so, liblog.so
#   ARVESSA_LIBGCC  the compiler's runtime, in place of the NDK's
#   ARVESSA_HEADERS target whose C headers, and C++ headers without code, stand in for the NDK's
set(CMAKE_SYSTEM_NAME Android)
set(CMAKE_SYSTEM_VERSION 1) # CMake's own support would ask for the NDK
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_ABI ANDROID_PLATFORM ANDROID_STL
     ARVESSA_STUBS ARVESSA_LIBGCC ARVESSA_HEADERS)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

if(NOT ANDROID_PLATFORM STREQUAL "android-21")
  message(FATAL_ERROR "API level '${ANDROID_PLATFORM}'")
endif()
if(ANDROID_ABI STREQUAL "armeabi-v7a")
  set(CMAKE_SYSTEM_PROCESSOR armv7-a)
  set(CMAKE_CXX_COMPILER_TARGET armv7a-linux-androideabi21)
  set(abi_flags "-march=armv7-a -mthumb -mfpu=neon")
elseif(ANDROID_ABI STREQUAL "arm64-v8a")
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
  set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-android21)
  set(abi_flags "")
else()
  message(FATAL_ERROR "ABI '${ANDROID_ABI}'")
endif()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${CMAKE_CXX_COMPILER_TARGET})

set(flags
    "-g -DANDROID -fdata-sections -ffunction-sections -funwind-tables -fstack-protector-strong -D_FORTIFY_SOURCE=2 ${abi_flags} -nostdlibinc"
)
set(headers /usr/${ARVESSA_HEADERS}/include)
if(NOT ANDROID_STL STREQUAL "none")
  set(cxx_headers "-isystem ${headers}/c++/12 -isystem ${headers}/c++/12/${ARVESSA_HEADERS}")
endif()
# As the NDK does: its own options before those of the cache.
foreach(variable CMAKE_C_FLAGS CMAKE_CXX_FLAGS CMAKE_SHARED_LINKER_FLAGS)
  set(${variable}
      ""
      CACHE STRING "")
endforeach()
set(CMAKE_C_FLAGS "${flags} -isystem ${headers} ${CMAKE_C_FLAGS}")
set(CMAKE_CXX_FLAGS "${flags} ${cxx_headers} -isystem ${headers} ${CMAKE_CXX_FLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS
    "-fuse-ld=lld -nostdlib -L${ARVESSA_STUBS} -Wl,--as-needed -Wl,--no-rosegment -Wl,--fatal-warnings -Wl,--exclude-libs,ALL -Wl,-z,max-page-size=4096 ${CMAKE_SHARED_LINKER_FLAGS}"
)
set(CMAKE_C_STANDARD_LIBRARIES_INIT "${ARVESSA_LIBGCC} -lm -lc")
