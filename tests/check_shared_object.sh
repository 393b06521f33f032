#!/usr/bin/env bash
# usage: check_shared_object.sh LIBRARY MAP
# Compares the dynamic symbols with the list of exports, and looks at what the library asks of its environment and how
# it is hardened.
set -euo pipefail
library=$1 map=$2
failed=0

fail() {
    echo "$library: $1"
    failed=1
}

# The version nodes are symbols of their own, of type A.
exported=$(nm -D --defined-only --without-symbol-versions "$library" | awk '$2 != "A" { print $3 }' | sort)
listed=$(sed -n '/global:/,/local:\|^}/p' "$map" | grep -oE '^ +[A-Za-z_0-9]+;' | tr -d ' ;' | sort)
difference=$(diff <(echo "$listed") <(echo "$exported") || true)
[ -z "$difference" ] || fail "exports differ from the list (< missing, > not listed): $difference"

dynamic=$(readelf -dW "$library")
segments=$(readelf -lW "$library")
# A sanitised build brings the runtimes of the sanitisers.
needed=$(grep NEEDED <<<"$dynamic" | grep -oE '\[[^]]+\]' | grep -vE 'libc\.so|libm\.so|ld-linux|libasan|libubsan' || true)
case "$needed" in
    *libstdc++* | *libgcc_s*)
        nm -D "$library" | grep __asan >/dev/null && needed= ;;
esac
[ -z "$needed" ] || fail "needs $needed"
! nm -D "$library" | grep -E '__cxa_(guard|throw|begin_catch)|_Unwind' >/dev/null || fail "uses the C++ runtime"

! grep -q TEXTREL <<<"$dynamic" || fail "has text relocations"
! grep -qE 'RPATH|RUNPATH' <<<"$dynamic" || fail "names folders to search for libraries"
grep -qE 'BIND_NOW|FLAGS_1.*NOW' <<<"$dynamic" || fail "binds its symbols late: its tables of pointers stay writable"
grep -q GNU_RELRO <<<"$segments" || fail "keeps nothing read-only after relocation"
grep -qE 'GNU_STACK .* RW ' <<<"$segments" || fail "does not rule out an executable stack"
! grep -qE 'LOAD .* RWE' <<<"$segments" || fail "has a segment that is writable and executable"
exit $failed
