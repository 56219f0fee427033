# Toolchain for 32-bit ARM with hardware floating point (Debian's armhf: ARMv7-A, VFPv3 with 16 registers): Debian's
# cross compiler, and a sysroot of Debian's armhf packages for what the compiler does not include. The sysroot is
# downloaded when the build folder is configured for the first time. The programs run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-gcc)
set(CMAKE_CXX_COMPILER ${CMAKE_LIBRARY_ARCHITECTURE}-g++)

# CMake reads this file again for each of its trial builds, which are in other folders: a cache variable of type PATH is
# made absolute, and the list passes it on to them.
set(ZUV_ARMHF_SYSROOT ${CMAKE_BINARY_DIR}/sysroot CACHE PATH "Folder of the sysroot; created if it does not exist")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZUV_ARMHF_SYSROOT)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/armhf-sysroot ${ZUV_ARMHF_SYSROOT}
    COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_SYSROOT ${ZUV_ARMHF_SYSROOT})

# Libraries, headers and packages come from the sysroot only, programs from the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_PATH} "")
set(architecture_packages ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig)
set(ENV{PKG_CONFIG_LIBDIR} ${architecture_packages}:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${CMAKE_SYSROOT})
