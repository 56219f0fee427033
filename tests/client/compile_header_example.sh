#!/bin/sh
# Compiles the example at the top of the public header as it stands there.
# usage: compile_header_example.sh HEADER COMPILER...
set -eu

header=$1
shift
example=$(sed -n 's|^//     ||p' "$header")
case $example in
    *createNewZUVMediaProxy*) ;;
    *) echo "$header shows no example" >&2; exit 1 ;;
esac

"$@" -std=c++11 -fsyntax-only -Wall -Wextra -Werror -I"$(dirname "$header")" -x c++ - <<END
#include "zuv_media_proxy.h"
#include <dlfcn.h>
void onMainVideoChanged(std::string id, std::string changed, std::string value);
void onAdvertisementChanged(std::string id, std::string changed, std::string value);
void example() {
$example
}
END
