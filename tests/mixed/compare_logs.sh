#!/usr/bin/env bash
# Compares what the client logs on this machine and under an emulator, line by line of the code that wrote it. What
# differs between any two runs does not count: order, addresses, identifiers and ports.
# usage: compare_logs.sh NATIVE_PROGRAMS PROGRAM EMULATOR...
set -euo pipefail

programs=$1
program=$2
shift 2

client_lines() {
    ZUV_LOG_LEVEL=dump "$programs/zuv-desktop" run --private-shm --engine simulated -- \
        "$@" "$programs/zuv-service" 2>&1 |
        grep -o '\[B-LOG\].*' |
        sed -E 's/ses-[0-9A-F-]+/SESSION/g; s/obj-[0-9a-f]+/OBJECT/g; s/0x[0-9a-f]+/ADDRESS/g; s#http://[^ "]+#URL#g' |
        sort -u
}

native=$(client_lines "$programs/$(basename "$program")")
emulated=$(client_lines "$@" "$program")
grep -q ' stated : 200 ' <<<"$native"
diff <(echo "$native") <(echo "$emulated")
