#!/usr/bin/env bash
# Makes far.png: a row to a style, in it the same view of the same world 0, 1e5, 1e6 and 1e7 units from
# the origin. Needs ImageMagick and the program corvane-shot of the preset release.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
shot=$PWD/build/release/bin/corvane-shot
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

block=(--seed 5 --kind 5 --pitch -0.9 --yaw 0.5 --clock 100 --trail 40 --zoom 0.6)
names=(--mode 2 --seed 5 --zoom 2.2 --at 1/3/3:3)
coast=(--seed 5 --kind 0 --pitch -1.3 --yaw 0.5 --clock 100 --zoom 0.6 --plot balls --landscape)
pictures=()

# row NAME OPTION ...: four pictures
row() {
    local name=$1 shift=
    shift
    for shift in 0,0,0 80000,60000,0 800000,600000,0 8000000,6000000,0; do
        pictures+=("$work/$name-$shift.png")
        "$shot" --size 240x150 --shift "$shift" --out "${pictures[-1]}" "$@"
    done
}

row discs "${block[@]}" --plot discs
row balls "${block[@]}" --plot balls
row gantries "${block[@]}" --plot gantries --light
row flat "${block[@]}" --plot flat
row cells "${block[@]}" --plot voronoi --voronoi-mode 5
row grid "${block[@]}" --grid
row names "${names[@]}"
row coast "${coast[@]}"
montage "${pictures[@]}" -tile 4x8 -geometry 168x105+1+1 -strip miff:- |
    convert - -depth 8 -dither None -colors 256 PNG8:docs/pictures/far.png
