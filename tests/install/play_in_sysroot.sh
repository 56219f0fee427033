#!/bin/sh
# Makes the packages of the cross build BUILD below the folder WORK, unpacks them into a copy of its SYSROOT, sees that
# they ask for the packages and versions that their libraries need, links a program against them and has it play in the
# emulator, with the desktop platform of PROGRAMS around it.
#
#   play_in_sysroot.sh BUILD SYSROOT WORK COMPILER PROGRAMS
set -eu
build=$1
work=$3
programs=$5
libraries=$work/sysroot/usr/lib/arm-linux-gnueabihf
player=$(dirname "$0")/../../examples/integration/player.cpp

rm -rf "$work"
mkdir -p "$work"
# Links do not reach another file system.
cp -al "$2" "$work/sysroot" 2>"$work/log" || { rm -rf "$work/sysroot"; cp -a "$2" "$work/sysroot"; }
cpack --config "$build/CPackConfig.cmake" -B "$work/packages" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
for package in "$work"/packages/*.deb; do
    dpkg-deb --extract "$package" "$work/sysroot"
done

depends=$(dpkg-deb --field "$work"/packages/libzuv-media-proxy1_*.deb Depends)
complain() {
    echo "The package does not ask for $1, but for: $depends" >&2
    exit 1
}
# The highest version of an interface, by the prefix of its symbols' versions.
needed() {
    readelf --wide --version-info "$libraries"/libzuv_*.so.1 |
        sed -n "s/.* Name: $1_\([0-9.]*\) .*/\1/p" | sort -V | tail -n 1
}
# ask_for PACKAGE SINCE: in that version or a newer one.
ask_for() {
    asked=$(echo "$depends" | tr ',' '\n' | sed -n "s/^ *$1 (>= \(.*\))$/\1/p")
    [ -n "$asked" ] || complain "$1 (>= $2)"
    dpkg --compare-versions "$asked" ge "$2" || complain "$1 (>= $2)"
}
# Debian names a library's package after its SONAME, and adds to it for another ABI: t64, -fmt9. The dynamic linker
# belongs to the C library.
for soname in $(readelf --wide --dynamic "$libraries"/libzuv_*.so.1 | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p'); do
    case $soname in
        libzuv_* | ld-linux-*) continue ;;
    esac
    package=$(echo "$soname" | sed 's/\.so\.//; s/_/-/')
    case ", $depends," in
        *", $package"[\ ,t-]*) ;;
        *) complain "$package" ;;
    esac
done
ask_for libc6 "$(needed GLIBC)"
ask_for libstdc++6 0 # any version: its symbols' versions are counted in another way
ask_for libsystemd0 "$(needed LIBSYSTEMD)"

# shellcheck disable=SC2046 # several flags
"$4" --sysroot="$work/sysroot" -std=c++17 -o "$work/player" "$player" \
    $(PKG_CONFIG_LIBDIR=$libraries/pkgconfig pkg-config --cflags --libs zuv_media_proxy)
# The simulated engine plays whatever is there.
"$programs/zuv-desktop" run --private-shm --engine simulated -- qemu-arm -L "$work/sysroot" "$work/player" "$player" \
    >"$work/output" || failed=yes
cat "$work/output"
[ -z "${failed-}" ] && grep -q '^http://127\.0\.0\.1' "$work/output"
