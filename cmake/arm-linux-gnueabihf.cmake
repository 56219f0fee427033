# Builds for 32-bit ARM with hardware floating point (Debian's armhf: ARMv7-A, VFPv3 with 16 registers) with Debian's
# cross compiler. What the target needs besides the compiler's own libraries is in a sysroot of Debian's armhf packages,
# fetched when the build folder is configured for the first time; its programs run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)

# As a path of the cache, a relative one counts from where cmake was called. CMake reads this file again for each of its
# trial builds, whose folder is another one.
set(ZUV_ARMHF_SYSROOT ${CMAKE_BINARY_DIR}/sysroot CACHE PATH "Folder of the sysroot; made if it is not there")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUV_ARMHF_SYSROOT)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/armhf-sysroot ${ZUV_ARMHF_SYSROOT}
    COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_SYSROOT ${ZUV_ARMHF_SYSROOT})

# Libraries, headers and packages are the target's alone, programs the build machine's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})
