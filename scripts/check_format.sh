#!/usr/bin/env bash
# Fails unless every source file is laid out as .clang-format says, and names the places.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Versions differ in details, so the one that the layout was made with goes first.
formatter=$(command -v clang-format-14 || command -v clang-format || true)
if [ -z "$formatter" ]; then
    echo "clang-format is not installed" >&2
    exit 1
fi
mapfile -t files < <(find src tools tests bench -name '*.h' -o -name '*.cpp' | sort)
if [ ${#files[@]} -eq 0 ]; then
    echo "no source file was found" >&2
    exit 1
fi
"$formatter" --dry-run -Werror "${files[@]}"
echo "${#files[@]} files are laid out by $("$formatter" --version)"
