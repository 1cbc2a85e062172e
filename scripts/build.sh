# Configures and builds. Sourced by run.sh and test.sh, in the top folder of the checkout.
# shellcheck shell=bash

# A build folder that was made for another place of the checkout can't be used; it is made anew.
build_drop_moved() {
    local cache=build/$1/CMakeCache.txt
    if [ -f "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$(pwd -P)" "$cache"; then
        rm -rf "build/$1"
    fi
}

# The programs alone, which take neither test nor benchmark library. A build folder that has been
# configured is used as it is, so that this and the tests share one.
build_programs() {
    build_drop_moved release
    if [ ! -f build/release/build.ninja ]; then
        cmake --preset release -DCORVANE_TESTS=OFF -DCORVANE_BENCH=OFF
    fi
    cmake --build build/release --target Corvane corvane-play corvane-shot corvane-world
}

# build_all PRESET: programs and tests, in release the benchmarks too.
build_all() {
    local bench=OFF
    if [ "$1" = release ]; then
        bench=ON
    fi
    build_drop_moved "$1"
    cmake --preset "$1" -DCORVANE_TESTS=ON -DCORVANE_BENCH=$bench
    cmake --build "build/$1"
}

# The fuzzers alone.
build_fuzzers() {
    build_drop_moved fuzz
    cmake --preset fuzz
    cmake --build --preset fuzz
}
