# How everything in this project is compiled.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The build tree has the layout of an installation, so that programs find the libraries and each other in the same way.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})

set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
# Light optimisation: fortified code needs it, and it takes a quarter less time to compile than -O2.
set(CMAKE_C_FLAGS_RELWITHDEBINFO "-O1 -g -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g -DNDEBUG")
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

# The presets make warnings errors (CMAKE_COMPILE_WARNING_AS_ERROR), not this file: a packager's build with another
# compiler must not fail because of a new warning.
add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wcast-qual -Wundef
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    # Keeps build paths out of the binaries: __FILE__ is relative to the source tree.
    -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)

# clang checks that what is marked as guarded by a mutex is only accessed while that is held (desktop/base/mutex.h).
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wthread-safety>)
endif()

# g++ collects its garbage only beyond half a gigabyte, which few files need. That takes a tenth less time.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:--param=ggc-min-heapsize=524288>)
endif()

# g++ 12 warns of overlapping copies in its own std::string operator+ (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()

# On 32-bit ARM, g++ notes each argument that was passed differently before version 7, which cannot compile this anyway.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-psabi>)
endif()

# A file that consists mostly of CLI11's templates, which run once. With optimisation it would take longer to compile
# than the rest of the program.
function(zuv_leave_unoptimized source)
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "-O0;-U_FORTIFY_SOURCE")
endfunction()

# Hardening: the library runs in another program's process, where a fault must not become exploitable. The C library's
# checked functions need optimised code; with a sanitizer they are left out, because it checks more than they do.
add_compile_options(-fstack-protector-strong)
if(NOT ZUV_SANITIZE)
    add_compile_options($<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-D_FORTIFY_SOURCE=2>)
endif()
add_link_options(-Wl,-z,relro,-z,now,-z,noexecstack)
# Linux has pages of 4 KiB on 32-bit ARM. The linker prepares for 64 KiB, to which newer versions pad the file.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
    add_link_options(-Wl,-z,max-page-size=4096)
endif()

add_link_options(-Wl,--as-needed)
# clang links a sanitizer's runtime into programs only, so in shared objects its symbols are undefined.
if(NOT (ZUV_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL Clang))
    add_link_options(-Wl,-z,defs)
endif()

if(ZUV_SANITIZE)
    # Reports need line numbers, but not what a debugger needs beyond them, which takes long to write.
    set(CMAKE_C_FLAGS_DEBUG "-g1")
    set(CMAKE_CXX_FLAGS_DEBUG "-g1")
    add_compile_options(-fsanitize=${ZUV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${ZUV_SANITIZE})
    if(ZUV_SANITIZE MATCHES thread)
        # ThreadSanitizer intercepts calls of memcpy; g++ would replace those of known size by instructions.
        add_compile_options(-fno-builtin-memcpy -fno-builtin-memmove -fno-builtin-memset)
    endif()
endif()
