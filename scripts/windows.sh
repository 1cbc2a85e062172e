# What the build for Windows takes beyond packages, and Wine. Sourced by test.sh, in the root folder.
# shellcheck shell=bash

# Fetches the newest source package that the mirrors have, into the present folder, with package lists
# of its own: those of the system need not name sources. Nothing outside the folder is changed.
windows_source() {
    local name=$1 here=$PWD version apt
    apt=(-q -o "Dir::Etc::SourceList=$here/sources.list" -o Dir::Etc::SourceParts=/dev/null
        -o "Dir::State::Lists=$here/lists" -o "Dir::Cache=$here/cache" -o APT::Sandbox::User=)
    mkdir -p lists/partial cache/archives/partial
    # shellcheck disable=SC2016 # the names are those of apt-get
    apt-get indextargets --format '$(CREATED_BY) $(REPO_URI) $(RELEASE) $(COMPONENT) $(ORIGIN)' |
        awk '$1 == "Packages" && ($5 == "Debian" || $5 == "Ubuntu") {print "deb-src", $2, $3, $4}' |
        sort -u >sources.list
    apt-get "${apt[@]}" update
    for version in $(apt-cache "${apt[@]}" showsrc "$name" | sed -n 's/^Version: //p' | sort -Vru); do
        if apt-get "${apt[@]}" source "$name=$version"; then
            return
        fi
    done
    echo "The source package $name could not be fetched." >&2
    return 1
}

# windows_install NAME SOURCE [OPTION...]: builds a library for Windows and installs it into deps.
windows_install() {
    local root=$PWD name=$1 source=$2
    shift 2
    cmake -S "$source" -B "build/mingw/from/$name-build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw.cmake" -DCMAKE_INSTALL_PREFIX="$root/build/mingw/deps" "$@"
    cmake --build "build/mingw/from/$name-build"
    cmake --install "build/mingw/from/$name-build"
}

# The libraries that no package has for Windows: libpng from the source package of the one that Linux
# gets, GoogleTest from the sources that its package installs. Built once.
windows_libraries() {
    local deps=build/mingw/deps from=build/mingw/from
    if [ ! -e $deps/lib/libpng.a ]; then
        rm -rf $from/libpng
        mkdir -p $from/libpng
        (cd $from/libpng && windows_source libpng1.6)
        windows_install libpng "$(echo $from/libpng/libpng1.6-*/)" \
            -DPNG_SHARED=OFF -DPNG_TESTS=OFF -DPNG_EXECUTABLES=OFF
    fi
    if [ ! -e $deps/lib/libgtest.a ]; then
        windows_install googletest /usr/src/googletest -DBUILD_GMOCK=OFF
    fi
}

# Wine as these tests use it: a place of its own below build, no questions asked, no debugger that keeps a
# program which has crashed, and names of files in UTF-8 whatever the locale here is.
windows_wine() {
    export LC_ALL=C.UTF-8
    export WINEPREFIX=$PWD/build/mingw/wine WINEDEBUG=-all
    export WINEDLLOVERRIDES="mscoree,mshtml=;winedbg.exe="
    if [ ! -e "$WINEPREFIX/system.reg" ]; then
        timeout 300 wineboot -i
        wineserver -w
    fi
}

# Cross-builds the programs and their tests, and the tests here that drive the programs.
windows_build() {
    windows_libraries
    build_drop_moved mingw
    cmake --preset mingw
    cmake --build build/mingw
    build_drop_moved release
    cmake --preset release -DCORVANE_TESTS=ON
    cmake --build build/release --target Corvane corvane-play corvane-shot corvane-world test_windows
}

# Runs the tests under Wine: those without a window, on a display of their own since windows that are
# hidden need one too, and then those that drive the program in a window.
windows_test() {
    local code=0
    windows_wine
    xvfb-run -a -s "-screen 0 1280x1000x24" ctest --test-dir build/mingw --output-on-failure \
        --no-tests=error --parallel 2 || code=1
    build/release/bin/test_windows || code=1
    wineserver -k || true
    return $code
}
