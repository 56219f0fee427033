#!/usr/bin/env bash
# Installs the packages of a folder into an empty Debian of the machine's own version, compiles the README's example and
# a program with the engine kit there like a reader would, and has them play by the launcher, and the player on a
# session bus. Needs root, and a Debian mirror (ZUV_DEBIAN_MIRROR names another one) for what the packages depend on;
# CACHE keeps the empty Debian, which knows its mirror, and downloads.
#
#   empty_debian.sh PACKAGES MEDIUM CACHE
set -euo pipefail
packages=$1
medium=$2
cache=$3
example=$(dirname "$0")/../../examples/minimal/main.cpp
kit_user=$(dirname "$0")/kit_user/poll_loop.cpp

suite=$(sed -n 's/^VERSION_CODENAME=//p' /etc/os-release)
archives=$cache/archives-$suite
base=$cache/empty-$suite.tar
mkdir -p "$archives"
if [ ! -f "$base" ]; then
    mmdebstrap --quiet --variant=apt --format=tar "$suite" "$base.part" ${ZUV_DEBIAN_MIRROR:+"$ZUV_DEBIAN_MIRROR"}
    mv "$base.part" "$base"
fi
root=$(mktemp -d "$cache/root.XXXXXX")
trap 'rm -rf "$root"' EXIT
tar -x -C "$root" -f "$base"
mkdir "$root/test"
cp "$packages"/*.deb "$example" "$kit_user" "$root/test"
cp "$medium" "$root/test/medium"

# Mounts and processes end with the shell inside.
unshare --mount --pid --fork --kill-child sh -eu -s "$root" "$archives" <<'INSIDE'
mount --rbind "$1" "$1" # a root is a mount point, as zuv-desktop expects of /
mount --bind "$2" "$1/var/cache/apt/archives"
mount -t proc proc "$1/proc"
mount -t tmpfs shm "$1/dev/shm"
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin http_proxy="${http_proxy-}" chroot "$1" sh -eu -s <<'CHROOT'
# No command may read the rest of this text.
export DEBIAN_FRONTEND=noninteractive
apt-get -qq update </dev/null
apt-get -qq -y --no-install-recommends -o Dpkg::Use-Pty=0 -o Dpkg::Options::=--force-unsafe-io \
    install g++ pkg-config /test/*.deb </dev/null >/test/apt.log 2>&1 || { cat /test/apt.log; exit 1; }
c++ -o /test/minimal /test/main.cpp $(pkg-config --cflags zuv_media_proxy)
zuv-desktop run --private-shm -- /test/minimal /test/medium </dev/null >/test/output
cat /test/output
grep -q ' url http://127\.0\.0\.1' /test/output
c++ -o /test/kit_user /test/poll_loop.cpp $(pkg-config --cflags --libs zuv_engine)
zuv-desktop run --private-shm -- /test/kit_user /test/medium </dev/null >/test/output
cat /test/output
grep -q '^http://127\.0\.0\.1' /test/output
dbus-run-session -- zuv-player --sync /test/medium </dev/null
CHROOT
INSIDE
