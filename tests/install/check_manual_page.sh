#!/bin/sh
# Checks that the manual page PAGE is well-formed, and that it lists exactly the options that the help of PROGRAM lists.
#
#   check_manual_page.sh PAGE [PROGRAM [SUBCOMMAND...]]
set -eu
page=$1

if command -v mandoc >/dev/null; then
    complaints=$(mandoc -Tlint -W warning "$page") || true
else
    complaints=$(groff -mdoc -Tutf8 -ww "$page" 2>&1 >/dev/null)
fi
[ -z "$complaints" ] || { echo "$complaints"; exit 1; }

[ $# -ge 2 ] || exit 0 # a program without options
program=$2
shift 2
help=$("$program" --help)
for subcommand in "$@"; do
    help="$help
$("$program" "$subcommand" --help)"
done
# "  -h,--help   Print ..." and "  --seek SECONDS=1"; newer versions of CLI11 write "  -h,   --help".
in_help=$(echo "$help" | sed -n 's/, */,/g; s/^ *\(-[a-z-][a-z,-]*\).*/\1/p' | tr ',' '\n' | sort -u)
# ".It Fl h , Fl -help" and ".It Fl -seek Ar SECONDS".
in_page=$(sed -n '/^\.It Fl/p' "$page" | grep -o 'Fl [a-z-]*' | sed 's/^Fl /-/' | sort -u)
if [ -z "$in_help" ] || [ "$in_help" != "$in_page" ]; then
    printf 'The options in the help:\n%s\nThe options in the manual page:\n%s\n' "$in_help" "$in_page"
    exit 1
fi
