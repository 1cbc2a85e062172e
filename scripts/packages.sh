# Installs Debian packages that are missing. Sourced by run.sh and test.sh.
# shellcheck shell=bash

# What building and running the programs takes. a|b: either will do, the first is installed.
packages_build=(g++ cmake ninja-build pkg-config libsdl2-dev libegl-dev libgl-dev libopengl-dev
    libpng-dev libgl1-mesa-dri libegl-mesa0 x11-utils)
# What the tests take beyond that. The layout of the sources is checked as version 14 sees it.
packages_test=(libgtest-dev libbenchmark-dev libboost-dev libxcb-damage0-dev 'clang-format-14|clang-format' 'clang-tidy-14|clang-tidy'
    clang 'libclang-rt-dev|libclang-rt-14-dev' shellcheck glslang-tools xvfb xserver-xorg-video-dummy
    x11-xserver-utils openbox xdotool wmctrl x11-xkb-utils strace util-linux mount
    desktop-file-utils appstream mandoc lintian dpkg-dev)
# What the tests of the build for Windows take beyond that.
packages_windows=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev googletest dpkg-dev wine wine64 xauth)

package_installed() {
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# The packages of the list given that are not installed, one a line, as they stand in the list.
packages_missing() {
    local wanted name
    for wanted; do
        for name in ${wanted//|/ }; do
            if package_installed "$name"; then
                continue 2
            fi
        done
        echo "$wanted"
    done
}

# apt-get as root; packages ask nothing.
packages_apt() {
    local command=(env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 "$@")
    if [ "$(id -u)" -ne 0 ]; then
        command=(sudo "${command[@]}")
    fi
    "${command[@]}"
}

# Of the alternatives a|b the first that the package lists know.
package_choice() {
    local name
    for name in ${1//|/ }; do
        if apt-cache show "$name" >/dev/null 2>&1; then
            echo "$name"
            return
        fi
    done
    echo "${1%%|*}"
}

# Elsewhere than on Debian and Ubuntu: goes on if what the packages hold is there, else says what is
# needed and ends the script.
packages_elsewhere() {
    local lacking=() name
    for name in c++ cmake ninja pkg-config; do
        command -v "$name" >/dev/null || lacking+=("$name")
    done
    for name in sdl2 egl gl opengl libpng; do
        pkg-config --exists "$name" 2>/dev/null || lacking+=("the library $name with its headers")
    done
    if [ "$1" != build ]; then
        for name in clang++ clang-format clang-tidy shellcheck glslangValidator Xvfb Xorg xrandr openbox xdotool \
            wmctrl setxkbmap xmodmap xwininfo strace unshare setpriv mount desktop-file-validate appstreamcli mandoc \
            lintian dpkg-shlibdeps; do
            command -v "$name" >/dev/null || lacking+=("$name")
        done
        for name in gtest benchmark xcb-damage; do
            pkg-config --exists "$name" 2>/dev/null || lacking+=("the library $name with its headers")
        done
    fi
    if [ "$1" = windows ]; then
        for name in x86_64-w64-mingw32-g++-posix wine dpkg-source; do
            command -v "$name" >/dev/null || lacking+=("$name")
        done
        [ -d /usr/src/googletest ] || lacking+=("the sources of GoogleTest in /usr/src/googletest")
    fi
    if [ ${#lacking[@]} -gt 0 ]; then
        {
            echo "This system has no apt-get, so nothing can be installed here. Please install:"
            printf '    %s\n' "${lacking[@]}"
            echo "and start this script again. It also takes a driver for OpenGL 2.0 or later."
        } >&2
        exit 1
    fi
}

# packages_install build|test|windows: installs what is missing for it, or ends the script with code 1.
# The tests take what building takes, and those of the build for Windows take both.
# apt-get runs only if something is missing.
packages_install() {
    if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
        packages_elsewhere "$1"
        return
    fi
    local wanted=("${packages_build[@]}") missing chosen=() name
    if [ "$1" != build ]; then
        wanted+=("${packages_test[@]}")
    fi
    if [ "$1" = windows ]; then
        wanted+=("${packages_windows[@]}")
    fi
    mapfile -t missing < <(packages_missing "${wanted[@]}")
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    echo "Installing ${missing[*]}"
    if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
        echo "These packages are missing, and there is no sudo: please install them as root." >&2
        exit 1
    fi
    packages_apt update || echo "The package lists could not be renewed; going on with the old ones." >&2
    for name in "${missing[@]}"; do
        chosen+=("$(package_choice "$name")")
    done
    if ! packages_apt install -y --no-install-recommends "${chosen[@]}"; then
        echo "These packages could not be installed: ${chosen[*]}" >&2
        exit 1
    fi
}
