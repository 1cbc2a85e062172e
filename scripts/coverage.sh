#!/usr/bin/env bash
# coverage.sh [--files]: builds with counters, runs the tests that need no window, and prints for each
# folder of src how many of its lines they ran; with --files for each file too. Fails if a test fails or
# a folder is below its limit. On demand, not part of ./test.sh; takes gcovr.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
. scripts/packages.sh

if [ $# -gt 1 ] || [ "${1:---files}" != --files ]; then
    echo "usage: scripts/coverage.sh [--files]" >&2
    exit 2
fi
packages_install test
if ! command -v gcovr >/dev/null; then
    echo "gcovr is missing; on Debian and Ubuntu it is the package of that name." >&2
    exit 1
fi

layers=(base graph generate game gfx text scene shell)
build=build/coverage
cmake --preset coverage >/dev/null
cmake --build "$build" --target "${layers[@]/#/test_}"
find "$build" -name '*.gcda' -delete
ctest --test-dir "$build" --no-tests=error --parallel "$(nproc)" --output-on-failure \
    --tests-regex "^($(IFS='|' && echo "${layers[*]}"))\."

gcovr --root . --filter src/ --object-directory "$build" -j "$(nproc)" "$build" --csv "$build/lines.csv"
awk -F, -v files="${1:-}" '
    BEGIN { split("base 95 model 95 generate 95 shell 95 scene 85 text 85", list, " ")
            for (i = 1; i in list; i += 2) limit[list[i]] = list[i + 1]
            print "folder             lines     run       %   limit" }
    function line(name, lines, run, least) {
        printf "%-16s %7d %7d %7.2f %7s\n", name, lines, run, lines ? 100 * run / lines : 100, least
    }
    $1 ~ /^src\// { split($1, part, "/"); folder = part[2]; lines[folder] += $2; run[folder] += $3
                    if (files != "") line($1, $2, $3, "") }
    END { for (folder in lines) {
              line(folder, lines[folder], run[folder], limit[folder])
              if (folder in limit) { met++; low += run[folder] <= lines[folder] * limit[folder] / 100 } }
          if (met < 6) { print "a folder was not measured" > "/dev/stderr"; exit 1 }
          if (low) { print low " below the limit" > "/dev/stderr"; exit 1 } }' "$build/lines.csv"
