#!/usr/bin/env bash
# Installs what the tests need, builds everything, and runs all tests: the fuzzers for a minute, the
# tests under the sanitizers, then the release build with the checks of the sources and the window tests.
# Ends with CTest's summary; the exit code is 0 only if every test passed and no fuzzer found anything.
#   --tidy     checks tests and benchmarks with clang-tidy as well, which takes long
#   --windows  builds for Windows instead, and runs the tests of that under Wine
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. scripts/packages.sh
. scripts/build.sh
. scripts/windows.sh

case "$#${1:-}" in
0 | 1--tidy) ;;
1--windows)
    packages_install windows
    windows_build
    windows_test
    exit
    ;;
*)
    echo "usage: ./test.sh [--tidy | --windows]" >&2
    exit 2
    ;;
esac

# run_tests PRESET OPTION...: what failed is told once more at the end.
run_tests() {
    local folder=build/$1
    shift
    if ! ctest --test-dir "$folder" --output-on-failure --no-tests=error "$@"; then
        grep -ah '^FAILED: ' "$folder/Testing/Temporary/LastTest.log" >&2 || true
        return 1
    fi
}

code=0
fail() {
    code=1
    trap 'echo "Not all has passed: $reason; see further up." >&2' EXIT
    reason=$1
}

packages_install test
build_fuzzers
scripts/fuzz.sh 60 || fail "a fuzzer has found something"
build_all asan
build_all release
if [ "${1:-}" = --tidy ]; then
    scripts/check_tidy.sh build/release tests bench || fail "clang-tidy found fault with tests or benchmarks"
fi
run_tests asan --parallel "$(nproc)" || fail "tests failed under the sanitizers"
run_tests release --parallel "$(nproc)" -LE window || fail "tests of the release build failed"
# The last guard against a machine so loaded that a key press is lost on its way to the program: a window
# test has three tries. Each one that fails is printed.
run_tests release -L window --repeat until-pass:3 || code=1
exit $code
