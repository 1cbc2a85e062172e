#!/usr/bin/env bash
# Makes packaging/icons/ anew: the icon in the sizes of the hicolor theme, from pictures that
# corvane-shot draws of one world. The small ones show less of it, so that its lines stay visible.
# Takes ImageMagick and the release build.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if ! command -v convert >/dev/null; then
    echo "ImageMagick is needed to scale the icon (package imagemagick)" >&2
    exit 1
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# tile NAME ZOOM RIM: a picture of 1024 pixels on a rounded tile whose rim shows on dark panels too.
tile() {
    build/release/bin/corvane-shot --seed 20 --kind 4 --trail 25 --clock 200 --zoom "$2" \
        --size 1024x1024 --out "$folder/picture.png"
    convert -size 1024x1024 xc:none -fill white -draw 'roundrectangle 16,16 1007,1007 180,180' \
        "$folder/shape.png"
    convert "$folder/picture.png" "$folder/shape.png" -alpha off -compose CopyOpacity -composite \
        -fill none -stroke '#8fb4e6' -strokewidth "$3" \
        -compose over -draw 'roundrectangle 28,28 995,995 168,168' "$folder/$1.png"
}

tile wide 0.27 24
tile near 0.17 48
for size in 16 22 24 32 48 64 128 256 512; do
    picture=wide
    if [ "$size" -le 32 ]; then
        picture=near
    fi
    mkdir -p "packaging/icons/${size}x$size"
    convert "$folder/$picture.png" -filter Lanczos -resize "${size}x$size" -strip \
        -define png:compression-level=9 -define png:exclude-chunks=date,time \
        "packaging/icons/${size}x$size/corvane.png"
done
