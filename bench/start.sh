#!/usr/bin/env bash
# start.sh [BUILDDIR]: how long the program takes from its start to its first picture, for the worlds of
# 20 seeds, on a virtual display with a window manager. Prints a line a seed, in milliseconds, and the
# medians. `total` is taken from outside, from before the process is made until its first swap has
# returned; the other columns are the program's own split. Of what comes before main the program knows
# the processor time only, so `total` less `from main` is the time that loading took, waits for the disk
# and the making of the process included.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
program=$(realpath "${1:-build/release}/bin/Corvane")

place=$(mktemp -d)
helpers=()
clean() {
    if [ ${#helpers[@]} -gt 0 ]; then
        kill "${helpers[@]}" 2>/dev/null || true
        wait 2>/dev/null || true
    fi
    rm -rf "$place"
}
trap clean EXIT

mkfifo "$place/number" "$place/errors"
Xvfb -displayfd 3 -screen 0 1280x1000x24 -nolisten tcp -noreset 3>"$place/number" 2>"$place/xvfb" &
helpers+=($!)
read -r -t 20 number <"$place/number"
export DISPLAY=:$number
unset WAYLAND_DISPLAY
openbox --sm-disable >"$place/openbox" 2>&1 &
helpers+=($!)
for _ in {1..200}; do
    wmctrl -m >/dev/null 2>&1 && break
    sleep 0.1
done

# One start with the given seed. Prints "STEP MILLISECONDS" lines, the step's blanks as underscores.
measure() {
    local folder=$place/$1 begin end=0 tag rest process
    mkdir "$folder"
    echo "Seed: $1" >"$folder/config.txt"
    begin=${EPOCHREALTIME//[.,]/}
    (cd "$folder" && CORVANE_TIMES=1 exec "$program") >"$folder/out" 2>"$place/errors" &
    process=$!
    while read -r tag rest; do
        if [ "$tag" != CORVANE_TIMES ]; then
            continue
        fi
        if [[ $rest == "from main"* ]]; then
            end=${EPOCHREALTIME//[.,]/}
            kill -TERM "$process" # ends it as a close button does
        fi
        echo "$rest" | awk '{ step = $1; for (i = 2; i < NF - 1; i++) step = step "_" $i
                              print step, $(NF - 1) }'
    done <"$place/errors"
    echo "total $(((end - begin) / 1000)).$(((end - begin) / 100 % 10))"
    wait "$process"
}

for seed in {1..20}; do
    measure "$seed" | sed "s/^/$seed /"
done | awk '
    function median(step,    n, i, j, t, list) {
        n = split(values[step], list, " ")
        for (i = 2; i <= n; i++)
            for (j = i; j > 1 && list[j - 1] + 0 > list[j] + 0; j--) {
                t = list[j]; list[j] = list[j - 1]; list[j - 1] = t
            }
        return n % 2 ? list[(n + 1) / 2] : (list[n / 2] + list[n / 2 + 1]) / 2
    }
    { if (!($2 in values)) order[++steps] = $2
      values[$2] = values[$2] " " $3; time[$1, $2] = $3; last = $1 }
    END {
        if (!steps) { print "the program printed no times" > "/dev/stderr"; exit 1 }
        printf "%6s", "seed"
        for (k = 1; k <= steps; k++) printf "%16s", order[k]
        for (s = 1; s <= last; s++) {
            printf "\n%6d", s
            for (k = 1; k <= steps; k++) printf "%16.1f", time[s, order[k]]
        }
        printf "\n%6s", "median"
        for (k = 1; k <= steps; k++) printf "%16.1f", median(order[k])
        print ""
    }'
