#!/usr/bin/env bash
# usage: consumers.sh find_package|pkg_config|subdirectory SOURCE BUILD WORK
# Takes the library into an application in C and in C++, in one of the three ways, and runs the application. CC, CXX,
# CFLAGS and CXXFLAGS are those of the build.
set -euo pipefail
way=$1 source=$2 build=$3 work=$4/$1
consumer=$source/tests/packaging/consumer
rm -rf "$work"
mkdir -p "$work"

# Moved after it was installed: nothing in it may remember where it was.
install_library() {
    cmake --install "$build" --prefix "$work/installed" >/dev/null
    mv "$work/installed" "$work/prefix"
}

with_cmake() {  # LANGUAGE OPTION...
    cmake -S "$consumer" -B "$work/build" -DLANGUAGE="$@" >/dev/null
    [ "$way" != subdirectory ] || "$source/tests/packaging/take_objects.py" "$build" "$work/build"
    cmake --build "$work/build" -j 2 >/dev/null
    ctest --test-dir "$work/build" --output-on-failure --no-tests=error
}

with_pkg_config() {  # COMPILER SOURCE
    # shellcheck disable=SC2046
    $1 "$2" -o "$work/shared" $(pkg-config --cflags --libs "ozr_panorama >= 1.0")
    LD_LIBRARY_PATH=$work/prefix/lib "$work/shared"
    # shellcheck disable=SC2046
    $1 "$2" -o "$work/static" -static $(pkg-config --static --cflags --libs ozr_panorama) 2>"$work/static.log"
    "$work/static"
}

# The public header's numbers are those of the package, of the SONAME and of the symbols.
check_versions() {
    local header=$work/prefix/include/ozr_types.h library=$work/prefix/lib/libozr_panorama.so version
    version=$(sed -n 's/^#define OZR_RELEASE_\(MAJOR\|MINOR\|PATCH\) //p' "$header" | paste -sd.)
    [ "$(pkg-config --modversion ozr_panorama)" = "$version" ]
    readelf -d "$library" | grep -F "[libozr_panorama.so.${version%%.*}]" >/dev/null
    nm -D "$library" | grep " ozr_panorama_run@@OZR_PANORAMA_${version%%.*}\$" >/dev/null
}

case $way in
    find_package)
        install_library
        with_cmake C -DCMAKE_PREFIX_PATH="$work/prefix"
        rm -r "$work/build"
        with_cmake CXX -DCMAKE_PREFIX_PATH="$work/prefix"
        [ ! -x "$build/ozr-pano" ] || "$work/prefix/bin/ozr-pano" --version
        ;;
    pkg_config)
        install_library
        export PKG_CONFIG_PATH=$work/prefix/lib/pkgconfig
        check_versions
        cp "$consumer/consumer.c" "$work/consumer.cpp"
        with_pkg_config "$CC $CFLAGS -std=c99 -pedantic-errors" "$consumer/consumer.c"
        with_pkg_config "$CXX $CXXFLAGS -pedantic-errors" "$work/consumer.cpp"
        ;;
    subdirectory)
        # With this build's flags the library is compiled as it was here.
        mapfile -t flags < <(sed -nE 's/^(CMAKE_BUILD_TYPE|CMAKE_C(XX)?_FLAGS(_[A-Z]+)?|OZR_WARNINGS_AS_ERRORS):/-D&/p' \
            "$build/CMakeCache.txt")
        with_cmake C -DSOURCE="$source" --no-warn-unused-cli "${flags[@]}"
        with_cmake CXX
        ;;
esac
