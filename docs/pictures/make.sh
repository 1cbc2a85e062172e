#!/bin/bash
# Remakes the pictures of this folder, all or those named: docs/pictures/make.sh [NAME ...]
#
# Each is made from named seeds by build/release/bin/corvane-shot, but for the specimen of the typeface,
# which its own test draws. Needs the preset release built, and ImageMagick's montage and convert; it
# installs nothing. Mesa's software renderer draws, and the same release of it gives the same bytes.
set -euo pipefail
cd "$(dirname "$0")/../.."

bin=$PWD/build/release/bin
out=docs/pictures
export LIBGL_ALWAYS_SOFTWARE=1

for tool in montage convert "$bin/corvane-shot" "$bin/test_text"; do
    if ! command -v "$tool" >/dev/null; then
        echo "make.sh: $tool is missing: install ImageMagick, build the preset release" >&2
        exit 1
    fi
done

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
count=0

# One shot: corvane-shot's options. It becomes the next tile.
shot() {
    count=$((count + 1))
    nice "$bin/corvane-shot" --out "$(printf '%s/%03d.png' "$work" "$count")" "$@" >/dev/null
}

# The tiles shot since the last picture become one of COLUMNS of them, with COLOURS colours.
picture() { # NAME COLUMNS COLOURS
    montage "$work"/[0-9]*.png -tile "$2x" -geometry +1+1 -background '#404040' "$work/sheet.png"
    store "$work/sheet.png" "$1" "$3"
    rm "$work"/[0-9]*.png
    count=0
}

store() { # FILE NAME COLOURS
    convert "$1" +dither -colors "$3" -strip -define png:exclude-chunks=date,time \
        -define png:compression-level=9 "$out/$2.png"
}

discs() { # the first picture of README
    shot --size 864x486 --seed 3 --kind 0 --at 1:1100 --trail 800 --clock 2755 --landscape \
        --yaw 1.5 --pitch -1.32 --zoom 2
    picture discs 1 256
}

worlds() { # the kinds 0 to 12, then the nested grid and the gallery
    local view=(--size 288x216 --clock 600)
    shot "${view[@]}" --kind 0 --seed 3 --at 1:1200 --trail 500 --pitch -0.7 --yaw 0.3 --zoom 3.5
    shot "${view[@]}" --kind 1 --seed 1 --at 1:1500 --trail 700 --pitch -1 --yaw 0.7 --zoom 6
    shot "${view[@]}" --kind 2 --seed 6 --at 1:700 --trail 500 --pitch -1 --yaw -0.9 --zoom 3
    shot "${view[@]}" --kind 3 --seed 6 --at 1:500 --trail 400 --pitch -0.6 --yaw -0.3 --zoom 3
    shot "${view[@]}" --kind 4 --seed 3 --at 1:1500 --trail 500 --pitch -0.7 --yaw 0.4 --zoom 4
    shot "${view[@]}" --kind 5 --seed 5 --at 1:150 --trail 60 --pitch -1.1 --yaw 0.6 --zoom 1.1
    shot "${view[@]}" --kind 6 --seed 6 --at 1:1700 --trail 500 --pitch -0.9 --yaw 0.4 --zoom 5
    shot "${view[@]}" --kind 7 --seed 8 --at 1:1700 --trail 700 --pitch -1 --yaw 0.7 --zoom 4
    shot "${view[@]}" --kind 8 --seed 2 --at 1:371 --trail 600 --pitch -0.6 --yaw 0.4 --zoom 2.5
    shot "${view[@]}" --kind 9 --seed 1 --at 1:91 --trail 600 --pitch -0.7 --yaw 0.4 --zoom 1.8
    shot "${view[@]}" --kind 10 --seed 6 --at 1:1000 --trail 500 --pitch -0.7 --yaw 0.3 --zoom 6
    shot "${view[@]}" --kind 11 --seed 6 --at 1:1000 --trail 500 --pitch -0.7 --yaw 0.4 --zoom 5
    shot "${view[@]}" --kind 12 --seed 3 --at 1:28 --trail 500 --pitch -0.7 --yaw 0.4 --zoom 1.5
    shot "${view[@]}" --mode 1 --seed 1 --at 3:0 --trail 60 --pitch -0.6 --zoom 0.6
    shot "${view[@]}" --mode 2 --seed 1 --trail 500 --pitch -0.7 --yaw 0.4 --zoom 5
    picture worlds 5 128
}

gantries() { # a corner with a ladder, by day and at dusk; over the sea; in a torus by lamp; in hexagons; nested
    local view=(--size 288x216 --plot gantries)
    local corner=(--kind 5 --seed 5 --at 1:151 --first-person --yaw 2.3 --pitch -1.3)
    local noon=(--landscape --clock 1000)
    shot "${view[@]}" "${corner[@]}" --clock 1000
    shot "${view[@]}" "${corner[@]}" --clock 245 --landscape
    shot "${view[@]}" "${noon[@]}" --kind 0 --seed 3 --at 1:1200 --first-person --yaw 2.8 --pitch -1
    shot "${view[@]}" --kind 10 --seed 6 --at 1:1000 --light --clock 500 --first-person --yaw 2.8 --pitch -1.1
    shot "${view[@]}" "${noon[@]}" --kind 4 --seed 3 --at 1:1500 --first-person --yaw 0.4 --pitch -1.1
    shot "${view[@]}" "${noon[@]}" --kind 9 --seed 6 --at 1:15 --yaw 2.8 --pitch -1.3 --zoom 0.5
    picture gantries 3 192
}

ballstick() { # by day, at dusk, at night with the lamp, nested
    local view=(--size 430x322 --plot balls)
    shot "${view[@]}" --kind 0 --seed 3 --at 1:1500 --landscape --clock 1000 --yaw 2.8 --pitch -1 --zoom 1
    shot "${view[@]}" --kind 10 --seed 6 --at 1:1000 --landscape --clock 245 --yaw 1.6 --pitch -1.1 \
        --zoom 1.5
    shot "${view[@]}" --kind 0 --seed 3 --at 1:1200 --landscape --light --clock 500 --yaw 1.6 --pitch -0.9 \
        --zoom 0.6
    shot "${view[@]}" --kind 8 --seed 2 --at 1:371 --clock 960 --yaw 2.8 --pitch -0.6 --zoom 2.5
    picture ballstick 2 160
}

flat() { # as areas, and as lines with I held
    local view=(--size 430x322 --kind 0 --seed 3 --at 1:1200 --plot flat --trail 100 --clock 200)
    shot "${view[@]}" --yaw 0.5 --pitch -0.8 --zoom 1
    shot "${view[@]}" --yaw 0.5 --pitch -0.8 --zoom 0.5 --lines
    picture flat 2 64
}

voronoi() { # the styles 0 to 5
    for style in 0 1 2 3 4 5; do
        shot --size 288x216 --plot voronoi --voronoi-mode $style --kind 4 --seed 3 --at 1:1500 --trail 300 --clock 600 \
            --yaw 0.5 --pitch -0.9 --zoom 2
    done
    picture voronoi 3 160
}

landscape() { # noon, afternoon, dusk, night, dawn; under water; among the clouds, above them by dawn and day
    local view=(--size 288x192 --landscape --kind 0 --seed 3 --at 1:1100 --trail 800)
    shot "${view[@]}" --clock 1000 --yaw 2.9 --pitch -1.4 --zoom 3
    shot "${view[@]}" --clock 3180 --yaw -1.2 --pitch -1.45 --zoom 3
    shot "${view[@]}" --clock 9243 --yaw -1.57 --pitch -1.45 --zoom 3
    shot "${view[@]}" --clock 2500 --yaw 0.5 --pitch -1.4 --zoom 1 --light
    shot "${view[@]}" --clock 2745 --yaw 1.5 --pitch -1.42 --zoom 3
    shot "${view[@]}" --clock 1000 --yaw 0.5 --pitch -1.75 --zoom 1.5
    shot "${view[@]}" --clock 1000 --yaw 2.9 --pitch -1.5 --zoom 800
    shot "${view[@]}" --clock 2748 --yaw 1.5 --pitch -1.5 --zoom 2400
    shot "${view[@]}" --clock 1000 --yaw 2.9 --pitch -1.5 --zoom 6500
    picture landscape 3 256
}

reachable() { # discs, gantries, balls and sticks, flat, two styles of the map
    local view=(--size 288x216 --area --kind 0 --seed 8 --at 1:1200 --yaw 0.5 --pitch -0.8 --zoom 2)
    shot "${view[@]}"
    shot "${view[@]}" --plot gantries
    shot "${view[@]}" --plot balls --clock 900
    shot "${view[@]}" --plot flat
    shot "${view[@]}" --plot voronoi --voronoi-mode 1
    shot "${view[@]}" --plot voronoi --voronoi-mode 5
    picture reachable 3 128
}

grid() { # three zooms
    local view=(--size 288x216 --grid --kind 0 --seed 3 --at 1:1200 --trail 100 --clock 200)
    shot "${view[@]}" --yaw 0.5 --pitch -1.2 --zoom 0.5
    shot "${view[@]}" --yaw 0.5 --pitch -1.2 --zoom 5
    shot "${view[@]}" --yaw 0.5 --pitch -1.2 --zoom 500
    picture grid 3 96
}

names() { # of the nested grid and of the gallery
    shot --size 430x322 --mode 1 --seed 1 --at 3:0 --zoom 0.15
    shot --size 430x322 --mode 2 --seed 1 --trail 100 --clock 600 --yaw 0.4 --pitch -0.5 --zoom 1
    picture names 2 64
}

stereo() { # the modes 0 to 8
    for mode in 0 1 2 3 4 5 6 7 8; do
        shot --size 288x216 --stereo $mode --depth 0.05 --kind 11 --seed 2 --at 1:1000 --trail 300 \
            --clock 600 --yaw 0.4 --pitch -0.7 --zoom 6
    done
    picture stereo 3 128
}

displays() { # prompt, help, statistics, nothing
    local view=(--size 640x360 --kind 7 --seed 8 --at 1:1700 --trail 700 --clock 3723)
    for hud in 0 1 2 3; do
        shot "${view[@]}" --hud $hud --yaw 0.7 --pitch -1 --zoom 4
    done
    # The statistics name the place of the maze in memory, which is another in each run.
    convert "$work/003.png" -fill '#404040' -draw 'rectangle 36,32 250,64' "$work/bare.png"
    mv "$work/bare.png" "$work/003.png"
    picture displays 2 96
}

far() { # a row to a style: the same view of the same world 0, 1e5, 1e6 and 1e7 units from the origin
    local block=(--seed 5 --kind 5 --pitch -0.9 --yaw 0.5 --clock 100 --trail 40 --zoom 0.6)
    local shift
    row() {
        for shift in 0,0,0 80000,60000,0 800000,600000,0 8000000,6000000,0; do
            shot --size 200x125 --shift "$shift" "$@"
        done
    }
    row "${block[@]}" --plot discs
    row "${block[@]}" --plot balls
    row "${block[@]}" --plot gantries --light
    row "${block[@]}" --plot flat
    row "${block[@]}" --plot voronoi --voronoi-mode 5
    row "${block[@]}" --grid
    row --mode 2 --seed 5 --zoom 2.2 --at 1/3/3:3
    row --seed 5 --kind 0 --pitch -1.3 --yaw 0.5 --clock 100 --zoom 0.6 --plot balls --landscape
    picture far 4 256
}

specimen() { # glyphs at three sizes, a pangram, the help text
    CORVANE_PICTURES=$work "$bin/test_text" --gtest_brief=1 \
        --gtest_filter=specimen.stands_as_it_is_drawn_in_the_folder_of_pictures >/dev/null
    store "$work/specimen.png" specimen 32
}

all=(discs worlds gantries ballstick flat voronoi landscape reachable grid names stereo displays far specimen)
for name in "${@:-${all[@]}}"; do
    if [[ " ${all[*]} " != *" $name "* ]]; then
        echo "make.sh: no picture is called $name; there are: ${all[*]}" >&2
        exit 1
    fi
    "$name"
    printf '%-12s %7d bytes\n' "$name" "$(stat -c %s "$out/$name.png")"
done
