#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the example on the shipped samples, and holds it against what the README prints: tst_example_inspect.sh PROGRAM
set -euo pipefail

program=$1
root=$(readlink -f "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly program root work
readonly samples=$root/data/samples source=$root/examples/inspect/main.cpp
passed=0
failed=0
mkdir "$work/empty"
cd "$work/empty"

# check WHAT COMMAND...
check() {
    if "${@:2}"; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "WRONG  $1"
    fi
}

# verify STATUS STDOUT [ARGUMENT...]: how the example ends and what it says, as a pattern; nothing else comes of it
verify() {
    local status=0
    HOME=$work/empty TMPDIR=$work/empty timeout 60 "$program" "${@:3}" >"$work/stdout" 2>"$work/stderr" || status=$?
    # shellcheck disable=SC2053 # the right side is a pattern
    [[ $status -eq $1 && $(<"$work/stdout") == $2 && -z $(<"$work/stderr") && -z $(ls -A "$work/empty") ]] && return
    printf 'exit code %s, wanted %s\n' "$status" "$1"
    head "$work/stdout" "$work/stderr"
    ls -A "$work/empty"
    return 1
}

printed() { awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$root/README.md"; }
is_what_the_readme_prints() { [[ $(printed) == "$(tail -n +2 "$source")"* ]]; }
is_short() { [[ $(tail -n +2 "$source" | wc -l) -le 15 ]]; }

echo "no image" >"$work/text.jpg"
check "a clean face passes" verify 0 "PASSED" "$samples/clean.jpg"
check "a pitted face fails for its pits" verify 1 $'FAILED\n*: *.* micrometres' "$samples/pitted.jpg"
check "a file that is no image gives no verdict" \
    verify 2 "NO VERDICT: Failed to load image: not an image of a known format" "$work/text.jpg"
check "a missing file gives no verdict" \
    verify 2 "NO VERDICT: Failed to load image: no such file" "$work/missing.jpg"
check "a folder gives no verdict" verify 2 "NO VERDICT: Failed to load image: not a file" "$samples"
check "no image at all gives no verdict" verify 2 "NO VERDICT: Failed to load image: no such file"
check "it is what the README prints" is_what_the_readme_prints
check "it is short" is_short

echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
