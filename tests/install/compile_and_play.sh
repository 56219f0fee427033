#!/bin/sh
# Compiles PROGRAM with pkg-config for the installation below PREFIX, and has it play MEDIUM on the installed desktop
# platform. It must print a local URL.
#
#   compile_and_play.sh PREFIX LIBRARY_FOLDER PROGRAM MEDIUM COMPILER [FLAGS [PACKAGE]]
set -eu
prefix=$1
libraries=$prefix/$2
flags=${6-}
package=${7-zuv_media_proxy}

export PKG_CONFIG_PATH="$libraries/pkgconfig"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# shellcheck disable=SC2046,SC2086 # several flags each
"$5" -std=c++17 $flags -o "$work/program" "$3" $(pkg-config --cflags --libs "$package")
LD_LIBRARY_PATH=$libraries "$prefix/bin/zuv-desktop" run --private-shm -- "$work/program" "$4" >"$work/output" ||
    failed=yes
cat "$work/output"
[ -z "${failed-}" ] && grep -q 'http://127\.0\.0\.1' "$work/output"
