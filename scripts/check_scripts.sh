#!/usr/bin/env bash
# Fails if shellcheck finds fault with a script.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

if ! command -v shellcheck >/dev/null; then
    echo "shellcheck is not installed" >&2
    exit 1
fi
mapfile -t files < <(find scripts bench tests docs packaging -name '*.sh' | sort)
shellcheck -x run.sh test.sh .ci/run packaging/corvane "${files[@]}"
echo "$((${#files[@]} + 4)) scripts are sound"
