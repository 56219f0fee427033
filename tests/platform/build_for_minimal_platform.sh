#!/bin/sh
# Does what a port does, with the minimal platform, below the folder WORK: makes the SDK, builds the client and the
# conformance suite for it, installs the client and compiles a program.
#
#   build_for_minimal_platform.sh SOURCE WORK GENERATOR CXX
set -eu
source=$1
work=$2
export CMAKE_GENERATOR="$3" CXX="$4"

cmake -S "$source/examples/platform" -B "$work/sdk-build" -DCMAKE_INSTALL_PREFIX="$work/sdk"
cmake --build "$work/sdk-build"
cmake --install "$work/sdk-build"

# Nobody debugs these: without the information for it, they build faster.
cmake -S "$source" -B "$work/device" -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG= -DZUV_BUILD_ENGINE=OFF \
    -DZUV_BUILD_EXAMPLES=OFF -DZUV_PLATFORM_DIR="$work/sdk" \
    -DZUV_PLATFORM_DESCRIPTION="$source/examples/platform/conformance.cpp"
cmake --build "$work/device" --target zuv_media_proxy zuv_trace conformance_test
cmake --install "$work/device" --prefix "$work/client"

"$CXX" -o "$work/minimal_platform_user" "$source/tests/platform/minimal_platform_user.cpp" \
    -I "$work/client/include" -L "$work/client/lib" -lzuv_media_proxy -Wl,-rpath,"$work/client/lib" \
    -I "$work/sdk/include" -L "$work/sdk/lib" -lzuv_platform -Wl,-rpath,"$work/sdk/lib"
