#!/usr/bin/env bash
# fuzz.sh SECONDS: runs each fuzzer for that long, all at once, and fails on any finding. With fewer
# processors than fuzzers they run for so much longer that each gets as much of a processor. They start
# from copies of their corpora, so that the tree stays as it is; what a finding takes to happen again is
# left in build/fuzz/findings/.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if [ $# -ne 1 ] || ! [[ $1 =~ ^[1-9][0-9]*$ ]]; then
    echo "usage: fuzz.sh SECONDS" >&2
    exit 2
fi
fuzzers=('savefile 8192' 'config 2048' 'text 1024') # name, and the longest input
processors=$(nproc)
seconds=$1
if [ "$processors" -lt ${#fuzzers[@]} ]; then
    seconds=$((($1 * ${#fuzzers[@]} + processors - 1) / processors))
fi
work=$PWD/build/fuzz/runs
findings=$PWD/build/fuzz/findings
rm -rf "$work"
mkdir -p "$work" "$findings"

# run_fuzzer NAME LONGEST: LONGEST is the size in bytes of the longest input that it tries.
run_fuzzer() {
    local corpus=$work/$1 log=$work/$1.log
    cp -r "tests/fuzz/corpus/$1" "$corpus"
    if "build/fuzz/bin/fuzz_$1" -max_total_time="$seconds" -max_len="$2" -timeout=20 \
        -artifact_prefix="$findings/$1-" -print_final_stats=1 "$corpus" >"$log" 2>&1; then
        echo "fuzz_$1: no finding in $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs"
        return
    fi
    echo "fuzz_$1: a finding; the input lies in build/fuzz/findings" >&2
    tail -n 60 "$log" >&2
    return 1
}
export -f run_fuzzer
export work findings seconds

printf '%s\n' "${fuzzers[@]}" |
    xargs -P ${#fuzzers[@]} -I '{}' bash -c 'set -euo pipefail; run_fuzzer {}'
