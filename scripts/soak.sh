#!/usr/bin/env bash
# soak.sh SECONDS [SEED [--nested]]: builds the program with the sanitizers and runs it for so long under
# random input, with every frame looked at. Without a seed the time of day gives one; it is told first,
# and the same one plays the same again. With --nested the world of millions of nodes comes once.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/build.sh

if [ $# -lt 1 ] || ! [[ $1 =~ ^[1-9][0-9]*$ ]] || ! [[ ${2:-1} =~ ^[0-9]+$ ]]; then
    echo "usage: soak.sh SECONDS [SEED [--nested]]" >&2
    exit 2
fi
seconds=$1
seed=${2:-$(date +%s)}
shift "$(($# < 2 ? 1 : 2))"

build_drop_moved asan
if [ ! -f build/asan/build.ninja ]; then
    cmake --preset asan
fi
cmake --build build/asan --target soak
LSAN_OPTIONS=suppressions=$PWD/tests/driver_leaks.txt:print_suppressions=0 \
    exec build/asan/bin/soak "$seconds" --seed "$seed" "$@"
