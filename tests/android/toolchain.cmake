# Android without its NDK: Clang compiles for the platform with the options of the NDK's own
# toolchain file, and links against stand-ins of the platform's libraries. link_check.py makes those
# and gives, besides ARVESSA_ANDROID_ABI:
#
#   ARVESSA_STUBS   directory of the stand-ins libc.so, libm.so, liblog.so
#   ARVESSA_LIBGCC  the compiler's runtime, in place of the NDK's
#   ARVESSA_HEADERS target whose C headers, and C++ headers without code, stand in for the NDK's
set(CMAKE_SYSTEM_NAME Android)
set(CMAKE_SYSTEM_VERSION 1) # CMake's own support would ask for the NDK
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ARVESSA_ANDROID_ABI ARVESSA_STUBS ARVESSA_LIBGCC
     ARVESSA_HEADERS)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

if(ARVESSA_ANDROID_ABI STREQUAL "armeabi-v7a") # with NEON, as the NDK compiles
  set(CMAKE_SYSTEM_PROCESSOR armv7-a)
  set(target armv7a-linux-androideabi21)
  set(abi_flags "-mthumb -mfloat-abi=softfp -mfpu=neon")
elseif(ARVESSA_ANDROID_ABI STREQUAL "armeabi-v7a-soft") # for devices without a floating-point unit
  set(CMAKE_SYSTEM_PROCESSOR armv7-a)
  set(target armv7a-linux-androideabi21)
  set(abi_flags "-mthumb -mfloat-abi=soft")
elseif(ARVESSA_ANDROID_ABI STREQUAL "arm64-v8a")
  set(CMAKE_SYSTEM_PROCESSOR aarch64)
  set(target aarch64-linux-android21)
  set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-z,max-page-size=16384")
else()
  message(FATAL_ERROR "Unknown Android ABI '${ARVESSA_ANDROID_ABI}'")
endif()

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${target})
set(CMAKE_CXX_COMPILER_TARGET ${target})
set(flags
    "-g -DANDROID -fdata-sections -ffunction-sections -funwind-tables -fstack-protector-strong -D_FORTIFY_SOURCE=2 ${abi_flags} -nostdlibinc"
)
set(CMAKE_C_FLAGS_INIT "${flags} -isystem /usr/${ARVESSA_HEADERS}/include")
set(CMAKE_CXX_FLAGS_INIT
    "${flags} -isystem /usr/${ARVESSA_HEADERS}/include/c++/12 -isystem /usr/${ARVESSA_HEADERS}/include/c++/12/${ARVESSA_HEADERS} -isystem /usr/${ARVESSA_HEADERS}/include"
)
string(
  APPEND
  CMAKE_SHARED_LINKER_FLAGS_INIT
  " -fuse-ld=lld -nostdlib -L${ARVESSA_STUBS} -Wl,--as-needed -Wl,--no-rosegment -Wl,--fatal-warnings -Wl,--exclude-libs,ALL"
)
set(CMAKE_C_STANDARD_LIBRARIES_INIT "${ARVESSA_LIBGCC} -lm -lc")
