#!/usr/bin/env bash
# Fails unless every compiler makes the golden worlds, unoptimised and optimised. The nested grids,
# millions of nodes each, are left out.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
root=$PWD

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# build COMPILER LEVEL: makes $folder/COMPILERLEVEL, the tool that makes worlds
build() {
    local objects="$folder/$1$2.o"
    mkdir "$objects"
    (
        cd "$objects"
        find "$root"/src/{base,model,generate} "$root"/tools/{corvane_world,tool,world*}.cpp \
            -name '*.cpp' ! -name '*_win32.cpp' -print0 |
            xargs -0 -P "$(nproc)" -n 1 "$1" "$2" -std=c++20 -ffp-contract=off -I"$root/src" \
                -D'CORVANE_VERSION="golden"' -c
    )
    "$1" "$objects"/*.o -o "$folder/$1$2"
}

# told TOOL: the golden worlds as the tool makes them, in the form of their file without the levels
told() {
    local mode kind seed options
    while read -r mode kind seed _; do
        options=(--seed "$seed" --mode "$mode" --digest)
        if [ "$kind" != - ]; then
            options+=(--kind "$kind")
        fi
        "$1" make "${options[@]}" 2>/dev/null |
            sed -E "s/graph=(.*) place=(.*) draws=(.*) rand_state=(.*)/$mode $kind $seed | \3 | \4 | \1 | \2/"
    done
}

grep -E '^[02] ' tests/golden/worlds.txt >"$folder/golden"
sed -E 's/ \| [0-9]+\/[0-9/ ]+ \|/ |/' "$folder/golden" >"$folder/wanted"
code=0
for compiler in g++ clang++; do
    for level in -O0 -O2; do
        build "$compiler" "$level"
        told "$folder/$compiler$level" <"$folder/golden" >"$folder/made"
        if ! diff "$folder/wanted" "$folder/made"; then
            echo "$compiler $level makes other worlds (>) than the golden ones (<)" >&2
            code=1
        fi
    done
done
[ "$code" -ne 0 ] || echo "$(wc -l <"$folder/golden") worlds are the same from both compilers at both levels"
exit "$code"
