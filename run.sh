#!/usr/bin/env bash
# Installs what is missing, builds Corvane and starts it in the folder play/, where its settings and
# its save stay. Without a display it draws a picture of a fresh world instead.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. scripts/packages.sh
. scripts/build.sh

display_reached() {
    local wayland=${WAYLAND_DISPLAY:-}
    if [ -n "$wayland" ]; then
        case $wayland in
        /*) ;;
        *) wayland=${XDG_RUNTIME_DIR:-/nowhere}/$wayland ;;
        esac
        if [ -S "$wayland" ]; then
            return 0
        fi
    fi
    [ -n "${DISPLAY:-}" ] && timeout 20 xdpyinfo >/dev/null 2>&1
}

draw_picture() {
    local seed picture
    seed=$(date +%s)
    picture=$PWD/play/world_$seed.png
    (cd play && ../build/release/bin/corvane-shot --seed "$seed" --mode 0 --out "$picture")
    echo "There is no display to open a window on, so a picture of a fresh world was drawn: $picture"
}

packages_install build
build_programs
mkdir -p play
if display_reached; then
    cd play
    exec ../build/release/bin/Corvane
fi
draw_picture
