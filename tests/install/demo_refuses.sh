#!/bin/sh
# Checks what the demo refuses before it builds anything: the exit status, and the reason as the last line.
#
#   demo_refuses.sh DEMO
set -u
demo=$1

expect() {
    status=$1
    reason=$2
    shift 2
    output=$("$@" 2>&1)
    found=$?
    if [ $found -ne "$status" ] || [ "$(echo "$output" | tail -n 1)" != "demo: $reason" ]; then
        printf '%s\nends with %s and says:\n%s\nexpected: %s, %s\n' "$*" $found "$output" "$status" "$reason"
        exit 1
    fi
}

expect 2 'no such option: --shwo; did you mean --show? (see scripts/demo --help)' "$demo" --shwo
expect 2 'not a file: /no/such/file (see scripts/demo --help)' "$demo" /no/such/file
expect 2 "one file too many: $0 (see scripts/demo --help)" "$demo" "$0" "$0"
expect 1 '--show needs an X display, as most desktops have, and DISPLAY is not set' env -u DISPLAY "$demo" --show
