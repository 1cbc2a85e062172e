#!/usr/bin/env bash
# wine.sh PROGRAM [ARGUMENT...]: runs a program for Windows. What it prints comes by way of a file:
# processes that Wine starts outlive the program, and would keep a pipe open.
set -euo pipefail
out=$(mktemp)
trap 'rm -f "$out"' EXIT
code=0
wine "$@" >"$out" 2>&1 </dev/null || code=$?
cat "$out"
exit "$code"
