#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs the example on the shipped samples: tst_example_inspect.sh PROGRAM
set -euo pipefail

program=$1
samples=$(readlink -f "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../../data/samples")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly program samples work
passed=0
failed=0
mkdir "$work/tmp"

# verify WHAT STATUS STDOUT STDERR [ARGUMENT...]: how the example ends and what it says, both as patterns
verify() {
    local status=0
    TMPDIR=$work/tmp timeout 60 "$program" "${@:5}" >"$work/stdout" 2>"$work/stderr" || status=$?
    # shellcheck disable=SC2053 # the right side is a pattern
    if [[ $status -eq $2 && $(<"$work/stdout") == $3 && $(<"$work/stderr") == $4 && -z $(ls -A "$work/tmp") ]]; then
        passed=$((passed + 1))
        return
    fi
    failed=$((failed + 1))
    printf 'WRONG  %s\nexit code %s, wanted %s\n' "$1" "$status" "$2"
    head "$work/stdout" "$work/stderr"
    ls -A "$work/tmp"
}

echo "no image" >"$work/text.jpg"
for _ in 1 2 3 4 5; do
    verify "a clean face passes" 0 "PASSED"*"/port 1/source.jpg"*"/port 1/result.jpg" "" "$samples/clean.jpg"
done
verify "a pitted face fails" 1 "FAILED"*"/port 1/source.jpg"*"/port 1/result.jpg" "" "$samples/pitted.jpg"
verify "a file that is no image gives no verdict" 2 "NO VERDICT" "*" "$work/text.jpg"
verify "a missing file gives no verdict" 2 "" "Cannot copy $work/missing.jpg" "$work/missing.jpg"
verify "a folder gives no verdict" 2 "" "Cannot copy $samples" "$samples"
verify "no image at all gives the usage" 2 "" "Usage: *"
verify "two images give the usage" 2 "" "Usage: *" "$samples/clean.jpg" "$samples/pitted.jpg"

echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
