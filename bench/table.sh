#!/usr/bin/env bash
# table.sh [--document] [BUILDDIR]: runs the benchmarks of all that matters and prints tables of what they
# say, in Markdown, with the machine's description. It takes some minutes; let nothing else run meanwhile.
# With --document the tables replace those in docs/performance.md, all below its line "## Measured".
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

document=
if [ "${1:-}" = --document ]; then
    document=docs/performance.md
    shift
fi
if [ $# -gt 1 ] || [[ ${1:-} == -* ]]; then
    echo "usage: bench/table.sh [--document] [BUILDDIR]" >&2
    exit 2
fi
build=${1:-build/release}
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT

# measure PROGRAM [FILTER [SECONDS]]: runs the benchmarks of the filter, each for that long at least. What
# they say goes to $place/PROGRAM, a line "benchmark, key, value" each.
measure() {
    local program
    program=$(realpath "$build/bin/$1")
    echo "$1 ..." >&2
    (cd "$place" && "$program" --benchmark_format=json --benchmark_filter="${2:-.}" \
        --benchmark_min_time="${3:-0.3}" >"$place/json" 2>"$place/errors") || {
        tail -n 5 "$place/errors" >&2
        echo "$1 failed" >&2
        return 1
    }
    awk -F'"' '/"benchmarks"/ { on = 1 }
        on && $2 == "name" { name = $4; next }
        on && NF >= 3 { value = NF >= 5 ? $4 : $3; gsub(/^[: ]+|,$/, "", value)
                        print name "\t" $2 "\t" value }' "$place/json" >"$place/$1"
    if [ "$1" = bench_styles ]; then
        sed -n 's/^ *"renderer": "\(.*\)",\{0,1\}$/\1/p' "$place/json" >"$place/renderer"
    fi
    if [ ! -s "$place/$1" ]; then
        echo "$1 measured nothing" >&2
        return 1
    fi
}

# rows PROGRAM... AWK: runs the text over what the programs said. There v["key"] is a value of the present
# benchmark and name its name; ms(x), whole(x) and times(x) make numbers of it.
rows() {
    local text=${!#}
    local files=("${@:1:$#-1}")
    awk -F'\t' "
        function ms(x) { return x >= 100 ? sprintf(\"%.0f\", x) : x >= 10 ? sprintf(\"%.1f\", x) : sprintf(\"%.2f\", x) }
        function whole(x) { return sprintf(\"%.0f\", x) }
        function times(x) { return sprintf(\"%.2f\", x) }
        function row() { if (name != \"\") { $text } split(\"\", v) }
        \$1 != name { row(); name = \$1 }
        { v[\$2] = \$3 }
        END { row() }" "${files[@]/#/$place/}"
}

load=$(cut -d ' ' -f 1-3 /proc/loadavg)
echo "start.sh ..." >&2
bench/start.sh "$build" >"$place/start"
measure bench_worlds
measure bench_styles
measure bench_calls calls_of_a_style
measure bench_frame 'rebuild|frame_after_step'
measure bench_generate 'spanning|corridors|threshold'
measure bench_solids
measure bench_voronoi

machine() {
    local compiler
    compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
    echo "| machine | |"
    echo "|---|---|"
    echo "| processor | $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) of its cores |"
    echo "| memory | $(awk '/^MemTotal/ { printf "%.1f", $2 / 1048576 }' /proc/meminfo) GiB |"
    echo "| system | $(sed -n 's/^PRETTY_NAME="\(.*\)"$/\1/p' /etc/os-release), Linux $(uname -r | cut -d . -f 1,2) |"
    echo "| compiler | $("$compiler" --version | head -n 1) |"
    echo "| OpenGL | $(cat "$place/renderer") |"
    echo "| load of other work before | $load |"
    echo "| taken | $(date -u +%Y-%m-%d), $(git describe --always --dirty --exclude='*' 2>/dev/null || echo 'not from a checkout') |"
}

start() {
    echo "| step of a start, ms | median | least | most |"
    echo "|---|--:|--:|--:|"
    awk '
        $1 == "seed" { for (i = 2; i <= NF; i++) name[i] = $i; steps = NF; next }
        $1 == "median" { for (i = 2; i <= NF; i++) median[i] = $i; next }
        { for (i = 2; i <= NF; i++) {
              if (!(i in least) || $i + 0 < least[i]) least[i] = $i + 0
              if (!(i in most) || $i + 0 > most[i]) most[i] = $i + 0 } }
        END { for (i = 2; i <= steps; i++) { step = name[i]; gsub(/_/, " ", step)
                  printf "| %s | %.1f | %.1f | %.1f |\n", step, median[i], least[i], most[i] } }' "$place/start"
}

worlds() {
    echo "| world | nodes | median, ms | slowest, ms | memory, bytes a node |"
    echo "|---|--:|--:|--:|--:|"
    # shellcheck disable=SC2016 # awk's own
    rows bench_worlds '
        kind = name; sub(/.*kind:/, "", kind); sub(/\/.*/, "", kind)
        what = name ~ /^random/ ? "kind " kind ", " v["label"] : name ~ /^gallery/ ? "gallery" : "nested grid"
        print "| " what " | " whole(v["nodes"]) " | " ms(v["median_ms"]) " | " ms(v["worst_ms"]) " | " \
              whole(v["bytes_a_node"]) " |"'
}

styles() {
    rows bench_styles bench_calls '
        style = v["label"]
        if (name ~ /^frame/) { order[++n] = style
            line[style] = ms(v["first_ms"]) " | " ms(v["step_ms"]) " | " ms(v["frame_ms"]) " | " ms(v["painted_ms"]) }
        else print "| " style " | " line[style] " | " whole(v["after_a_step"]) " | " whole(v["standing"]) " |"'
}

solids='
    plain = "plain_ms" in v ? v["plain_ms"] : v["array_ms"]
    ours = "ours_ms" in v ? v["ours_ms"] : "plain_ms" in v ? plain * v["ratio"] : plain / v["array_ratio"]
    job = name; sub(/\/iterations.*|\/manual_time.*|\/real_time.*/, "", job)
    sub(/^frame.view:/, "balls and sticks, frame of view ", job); sub(/^build$/, "lists of balls and sticks", job)
    sub(/^rebuild/, "lists of discs", job); sub(/^cells/, "cells of a map", job); gsub(/[_\/]/, " ", job)'

print_tables() {
    machine
    printf '\n### From the start of the process to the first picture\n\n'
    start
    printf '\n### Making a world (N)\n\n'
    worlds
    printf '\n### The nested grid and its file\n\n'
    echo "| | |"
    echo "|---|--:|"
    # shellcheck disable=SC2016
    rows bench_worlds 'if (name ~ /^nested/) {
        print "| nodes | " whole(v["nodes"]) " |"
        print "| memory, bytes a node | " whole(v["bytes_a_node"]) " |"
        print "| file, bytes a node | " whole(v["file_bytes_a_node"]) " |"
        print "| file, MB | " whole(v["file_MB"]) " |"
        print "| saving, ms | " whole(v["save_ms"]) " |"
        print "| saving, MB a second | " whole(v["file_MB"] / v["save_ms"] * 1000) " |"
        print "| saving, in units of writing as many bytes | " times(v["save_ratio"]) " |"
        print "| loading, ms | " whole(v["load_ms"]) " |"
        print "| loading, MB a second | " whole(v["file_MB"] / v["load_ms"] * 1000) " |"
        print "| loading, in units of reading as many bytes | " times(v["load_ratio"]) " |" }'
    # shellcheck disable=SC2016
    rows bench_solids 'if (name ~ /^nested/) {
        print "| balls and sticks, slowest frame that makes lists, ms | " ms(v["worst_ms"]) " |"
        print "| levels | " whole(v["levels"]) " |"
        print "| levels with lists after 11 views | " whole(v["listed"]) " |" }'
    printf '\n### A step of the player\n\n'
    echo "| disc plot | nodes | ms |"
    echo "|---|--:|--:|"
    # shellcheck disable=SC2016
    rows bench_frame '
        split(name, part, "/")
        print "| " (part[1] == "rebuild" ? "lists of the level made anew" : "the frame after it") " | " \
              whole(part[2] * part[3]) " | " ms(v["real_time"]) " |"'
    printf '\n### A frame of each style, 2499 nodes\n\n'
    echo "| style | first, ms | after a step, ms | standing, ms | painted, ms | calls after a step | calls, standing |"
    echo "|---|--:|--:|--:|--:|--:|--:|"
    styles
    printf '\n### Beside a plain version of the same job in the same run\n\n'
    echo "| job | nodes | ms | plain, ms | plain / ours |"
    echo "|---|--:|--:|--:|--:|"
    # shellcheck disable=SC2016
    rows bench_generate bench_voronoi bench_frame bench_solids "
        if (\"plain_ms\" in v || \"array_ms\" in v) {
            $solids
            print \"| \" job \" | \" (\"nodes\" in v ? whole(v[\"nodes\"]) : \"7750\") \" | \" ms(ours) \" | \" \
                  ms(plain) \" | \" times(plain / ours) \" |\" }"
}

if [ -z "$document" ]; then
    print_tables
    exit
fi
if ! grep -qx '## Measured' "$document"; then
    echo "$document has no line \"## Measured\"" >&2
    exit 1
fi
{
    sed '/^## Measured$/q' "$document"
    echo
    print_tables
} >"$place/document"
cp "$place/document" "$document"
