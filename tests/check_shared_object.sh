#!/usr/bin/env bash
# usage: check_shared_object.sh LIBRARY MAP
# Compares the dynamic symbols with the list of exports, and looks at what the library asks of its environment.
set -euo pipefail
library=$1 map=$2
failed=0

fail() {
    echo "$library: $1"
    failed=1
}

exported=$(nm -D --defined-only "$library" | awk '{ print $3 }' | sort)
listed=$(sed -n '/global:/,/local:/p' "$map" | grep -oE '^ +[A-Za-z_0-9]+;' | tr -d ' ;' | sort)
difference=$(diff <(echo "$listed") <(echo "$exported") || true)
[ -z "$difference" ] || fail "exports differ from the list (< missing, > not listed): $difference"

dynamic=$(readelf -d "$library")
# A sanitised build brings the runtimes of the sanitisers.
needed=$(grep NEEDED <<<"$dynamic" | grep -oE '\[[^]]+\]' | grep -vE 'libc\.so|libm\.so|ld-linux|libasan|libubsan' || true)
case "$needed" in
    *libstdc++* | *libgcc_s*)
        nm -D "$library" | grep -q __asan && needed= ;;
esac
[ -z "$needed" ] || fail "needs $needed"
! grep -q TEXTREL <<<"$dynamic" || fail "has text relocations"
! nm -D "$library" | grep -qE '__cxa_(guard|throw|begin_catch)|_Unwind' || fail "uses the C++ runtime"
exit $failed
