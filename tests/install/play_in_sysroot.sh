#!/bin/sh
# Makes the packages of the cross build BUILD below the folder WORK, unpacks them into a copy of its SYSROOT, links a
# program against them and has it play in the emulator, with the desktop platform of PROGRAMS around it.
#
#   play_in_sysroot.sh BUILD SYSROOT WORK COMPILER PROGRAMS
set -eu
build=$1
work=$3
programs=$5
player=$(dirname "$0")/../../examples/integration/player.cpp

rm -rf "$work"
mkdir -p "$work"
cp -al "$2" "$work/sysroot"
cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
for package in "$work"/packages/*.deb; do
    dpkg-deb --extract "$package" "$work/sysroot"
done

pc=$(find "$work/sysroot" -name zuv_media_proxy.pc)
# shellcheck disable=SC2046 # several flags
"$4" --sysroot="$work/sysroot" -std=c++17 -o "$work/player" "$player" \
    $(PKG_CONFIG_LIBDIR=$(dirname "$pc") pkg-config --cflags --libs zuv_media_proxy)
# The simulated engine plays whatever is there.
"$programs/zuv-desktop" run --private-shm --engine simulated -- qemu-arm -L "$work/sysroot" "$work/player" "$player" |
    grep '^http://127\.0\.0\.1'
