#!/usr/bin/env bash
# usage: packages.sh BUILD WORK
# Makes the .deb and the .tar.gz, and runs the program of each from where it was unpacked.
set -euo pipefail
build=$1 work=$2/packages
rm -rf "$work"
mkdir -p "$work/deb" "$work/tar"
fail() {
    echo "$1"
    exit 1
}

(cd "$build" && cpack -B "$work" >"$work/cpack.log" 2>&1) || fail "$(cat "$work/cpack.log")"

dpkg-deb -x "$work"/*.deb "$work/deb"
for file in bin/ozr-pano include/ozr_panorama.h lib/libozr_panorama.so lib/libozr_panorama.so.1 lib/libozr_panorama.a \
    share/doc/ozr-panorama/copyright lib/pkgconfig/ozr_panorama.pc lib/cmake/ozr_panorama/ozr_panoramaConfig.cmake; do
    [ -e "$work/deb/usr/$file" ] || fail "the .deb has no $file"
done
dpkg-deb -f "$work"/*.deb Depends | grep 'libc6.*libjpeg.*libpng' >/dev/null || fail "the .deb depends on too little"
! readelf -d "$work/deb/usr/bin/ozr-pano" | grep PATH >/dev/null || fail "the .deb's program looks for libraries on its own"
LD_LIBRARY_PATH=$work/deb/usr/lib "$work/deb/usr/bin/ozr-pano" --version

tar -xzf "$work"/*.tar.gz -C "$work/tar" --strip-components 1
"$work/tar/bin/ozr-pano" --version
diff <(cd "$work/deb/usr" && find . -type f -o -type l | sort) <(cd "$work/tar" && find . -type f -o -type l | sort)
