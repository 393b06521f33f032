#!/usr/bin/env bash
# usage: check_symbols.sh ARCHIVE MAP
# Every global symbol of the static library is an exported name, as the map lists them, a part of panorama_t, or lies in
# the namespace ozr, templates of the standard library over its types included: an application that links it meets no other names.
# What the compiler adds of its own, for position independent 32-bit code and for the address sanitizer, does not count.
set -euo pipefail
exported=$(sed -n '/global:/,/^}/p' "$2" | grep -oE '^ +[A-Za-z_0-9]+;' | tr -d ' ;')
strange=$(nm --defined-only -g "$1" | awk 'NF == 3 { print $3 }' | sort -u | grep -vxF "$exported" |
    grep -vE '^_Z(TV)?(NK?)?(3ozr|10panorama_t)|^_ZN?St.*3ozr|^__(x86\.get_pc_thunk|odr_asan)\.' || true)
[ -z "$strange" ] || { echo "$1: global symbols that are neither exported nor in ozr:"; echo "$strange"; exit 1; }
