#!/bin/sh
# The checklist names each test of the conformance suite, and no test that there is not.
#
#   porting_guide_names_every_test.sh PORTING_GUIDE CONFORMANCE_TEST
set -eu
named=$(grep '^| \[ \]' "$1" | grep -o '`[A-Z][A-Za-z]*\.[A-Z][A-Za-z]*`' | tr -d '`' | sort -u)
there=$("$2" --gtest_list_tests | awk '/^[^ ]*\.$/ { suite = $1 } /^  / { print suite $1 }' | sort -u)
test -n "$there"
if [ "$named" != "$there" ]; then
    printf 'named in %s:\n%s\n\nin the suite:\n%s\n' "$1" "$named" "$there"
    exit 1
fi
