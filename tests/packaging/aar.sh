#!/usr/bin/env bash
# usage: aar.sh SOURCE BUILD WORK
# Packs an AAR and looks at what Gradle will find in it. The library of this build, linked as on Android, stands in for
# the NDK's. CC and CFLAGS are those of the build.
set -euo pipefail
source=$1 build=$2 work=$3/aar
rm -rf "$work"
mkdir -p "$work/android/build" "$work/ndk" "$work/out"
fail() {
    echo "$1"
    exit 1
}

abi=x86_64
[[ $CFLAGS != *-m32* ]] || abi=x86
echo "Pkg.Revision = 25.2.9519653" >"$work/ndk/source.properties"
cat >"$work/android/CMakeCache.txt" <<CACHE
ANDROID_ABI:UNINITIALIZED=$abi
ANDROID_PLATFORM:UNINITIALIZED=android-21
CMAKE_TOOLCHAIN_FILE:FILEPATH=$work/ndk/build/cmake/android.toolchain.cmake
CACHE
# shellcheck disable=SC2086
$CC $CFLAGS -shared -Wl,-soname,libozr_panorama.so -o "$work/android/libozr_panorama.so" \
    -Wl,--version-script="$build/libozr_panorama.map" -Wl,--whole-archive "$build/libozr_panorama.a" \
    -Wl,--no-whole-archive -lm

! "$source/scripts/package-aar" -o "$work/desktop.aar" "$build" 2>/dev/null || fail "a desktop build was packed"
"$source/scripts/package-aar" -o "$work/ozr.aar" "$work/android"
(cd "$work/out" && cmake -E tar xf ../ozr.aar)

python3 - "$work/out" $abi <<'PYTHON'
import json, sys, xml.etree.ElementTree
root, abi = sys.argv[1:]
package = json.load(open(f"{root}/prefab/prefab.json"))
assert (package["name"], package["schema_version"]) == ("ozr_panorama", 2), package
module = f"{root}/prefab/modules/ozr_panorama"
assert json.load(open(f"{module}/module.json"))["library_name"] == "libozr_panorama"
assert json.load(open(f"{module}/libs/android.{abi}/abi.json")) == {
    "abi": abi, "api": 21, "ndk": 25, "stl": "none", "static": False}
manifest = xml.etree.ElementTree.parse(f"{root}/AndroidManifest.xml").getroot()
name = "{http://schemas.android.com/apk/res/android}versionName"
assert manifest.get(name) == package["version"], manifest.attrib
PYTHON

# What Prefab tells the application's compiler: this include folder, and this library by its path.
module=$work/out/prefab/modules/ozr_panorama
# shellcheck disable=SC2086
$CC $CFLAGS -I"$module/include" "$source/tests/packaging/consumer/consumer.c" \
    "$module/libs/android.$abi/libozr_panorama.so" -o "$work/consumer"
LD_LIBRARY_PATH=$module/libs/android.$abi "$work/consumer"
