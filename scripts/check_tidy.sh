#!/usr/bin/env bash
# check_tidy.sh BUILDDIR [FOLDER...]: fails if clang-tidy finds fault with a source file in the folders,
# which are those of the programs if none is named. BUILDDIR holds the compile commands.
set -euo pipefail
build=$(realpath "$1")
cd "$(dirname "${BASH_SOURCE[0]}")/.."
shift
if [ $# -eq 0 ]; then
    set -- src tools
fi

tidy=$(command -v clang-tidy-14 || command -v clang-tidy || true)
if [ -z "$tidy" ]; then
    echo "clang-tidy is not installed" >&2
    exit 1
fi
# what is only for Windows takes that system's headers
mapfile -t files < <(find "$@" -name '*.cpp' ! -name '*_win32.cpp' ! -name win32.cpp ! -name '*wgl.cpp' | sort)
if [ ${#files[@]} -eq 0 ]; then
    echo "no source file was found" >&2
    exit 1
fi
# headers that g++ has compiled are nothing to clang
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
sed 's/ -Winvalid-pch -include [^ ]*//' "$build/compile_commands.json" >"$commands/compile_commands.json"
# asserts stay in: they tell the analyser what holds
if ! printf '%s\0' "${files[@]}" | xargs -0 -P "$(nproc)" -n 1 \
    "$tidy" -p "$commands" --quiet --extra-arg=-UNDEBUG \
    --extra-arg=-Wno-unknown-warning-option --warnings-as-errors='*'; then
    echo "clang-tidy found fault" >&2
    exit 1
fi
echo "${#files[@]} files are clean"
