#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The script ./vantor: its help, its errors, its choice of packages, its counts. Stand-ins replace apt-get and its kin,
# so nothing is installed and nothing is built.
# Usage: tst_vantor.sh VANTOR-INSPECT
# shellcheck disable=SC2016 # the bodies of the stand-ins expand when these run
set -euo pipefail

root=$(readlink -f "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly root work
readonly inspect=$1 # the program vantor-inspect
passed=0
failed=0

# verify WHAT COMMAND...
verify() {
    if "${@:2}" >"$work/output" 2>&1; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        echo "WRONG  $1"
        cat "$work/output"
    fi
}

# same ACTUAL EXPECTED
same() { [[ $1 == "$2" ]] || { printf 'actual:   %s\nexpected: %s\n' "$1" "$2"; return 1; }; }

# --- Help and errors --------------------------------------------------------------------------------------------------

help_names_every_command() {
    same "$("$root/vantor" help | sed -n 's/^  \([a-z]\+\) .*/\1/p' | sort)" \
        "$(sed -n 's/^command_\([a-z]*\)().*/\1/p' "$root/vantor" | sort)"
}
unknown_command() {
    local text status=0
    text=$("$root/vantor" nonsense 2>&1 >"$work/stdout") || status=$?
    same "$status" 64 && same "$(<"$work/stdout")" "" && [[ $text == *nonsense* ]]
}
verify "the help names every command" help_names_every_command
verify "no command at all gives the help" same "$("$root/vantor")" "$("$root/vantor" help)"
verify "an unknown command is reported and ends with 64" unknown_command

# --- Packages ---------------------------------------------------------------------------------------------------------

# stand_in NAME BODY: a program that writes down how it was called
mkdir "$work/bin" "$work/checkout" "$work/checkout/packaging"
stand_in() {
    printf '#!/usr/bin/env bash\necho "%s $*" >>"%s/calls"\n%s\n' "$1" "$work" "$2" >"$work/bin/$1"
    chmod +x "$work/bin/$1"
}
stand_in cmake 'exit 9'
stand_in sudo 'exec "$@"'
stand_in apt-get ''
stand_in dpkg-query 'printf "installed %s\n" one four; echo "config-files two"'
cp "$root/vantor" "$work/checkout"
printf '%s\n' '# list' '[build]' one two '' '[test]' four three '[bench]' five \
    >"$work/checkout/packaging/debian-packages.txt"

# calls_of PROGRAM COMMAND...: how the command called it
calls_of() {
    : >"$work/calls"
    PATH="$work/bin:$PATH" "$work/checkout/vantor" "${@:2}" >/dev/null 2>&1 || true
    sed -n "s/^$1 //p" "$work/calls"
}
verify "what is missing of the command's groups is installed" same "$(calls_of apt-get test)" \
    "-q update
-q install -y --no-install-recommends three two"
verify "another command needs other groups" same "$(calls_of apt-get bench | tail -n 1)" \
    "-q install -y --no-install-recommends five two"
verify "one call finds out what is there" same "$(calls_of dpkg-query test | wc -l)" 1

stand_in dpkg-query 'printf "installed %s\n" one two three four five'
verify "nothing is installed when nothing is missing" same "$(calls_of apt-get test)" ""
verify "the build follows" same "$(calls_of cmake test | head -n 1)" "--preset dev"

failing_installation() {
    stand_in dpkg-query ''
    stand_in apt-get '[[ $2 == update ]]'
    local text status=0
    text=$(PATH="$work/bin:$PATH" "$work/checkout/vantor" test 2>&1) || status=$?
    same "$status" 1 && [[ $text == *"cannot install four one three two"* ]]
}
verify "a failing installation is told with its packages" failing_installation

# Those that pass their arguments on have the help of the program.
every_command_has_its_own_help() {
    local name text
    while read -r name; do
        text=$(PATH="$work/bin:$PATH" "$work/checkout/vantor" "$name" --help)
        [[ $text == "Usage: ./vantor $name"* && $text == *$'\n\n'?* ]] || { echo "$name: $text"; return 1; }
        same "$("$work/checkout/vantor" help "$name")" "$text" || return 1
    done < <(sed -n 's/^command_\([a-z]*\)().*/\1/p' "$root/vantor" | grep -vx -e app -e inspect)
    [[ -n ${text:-} ]]
}
superfluous_argument() {
    local status=0
    "$work/checkout/vantor" clean nonsense 2>"$work/stderr" || status=$?
    same "$status" 64 && [[ $(<"$work/stderr") == *nonsense* ]]
}
second_argument() {
    local status=0
    PATH="$work/bin:$PATH" "$work/checkout/vantor" "$1" 1 nonsense >"$work/stderr" 2>&1 || status=$?
    same "$status" 64 && [[ $(<"$work/stderr") == *nonsense* ]]
}
verify "every command has its own help" every_command_has_its_own_help
verify "an argument that a command does not take is reported and ends with 64" superfluous_argument
for command in help screenshots soak fuzz; do
    verify "a second argument of $command is reported and ends with 64" second_argument "$command"
done

# --- The sample of `inspect` ------------------------------------------------------------------------------------------

# inspected ARGUMENT...: what vantor-inspect is given
mkdir -p "$work/checkout/build/release/bin"
: >"$work/checkout/build/release/build.ninja"
: >"$work/checkout/build/release/CMakeCache.txt"
stand_in dpkg-query 'printf "installed %s\n" one two'
stand_in cmake ''
printf '#!/bin/sh\n[ "$*" != --help ] || exec "%s" --help\necho "$@"\nexit 1\n' "$inspect" \
    >"$work/checkout/build/release/bin/vantor-inspect"
chmod +x "$work/checkout/build/release/bin/vantor-inspect"
inspected() { PATH="$work/bin:$PATH" "$work/checkout/vantor" inspect "$@" || true; }
pitted=$work/checkout/data/samples/pitted.jpg
verify "without arguments a sample is inspected" same "$(inspected)" "$pitted"
verify "with options only, too" same "$(inspected --json --standard mm -j 2)" "--json --standard mm -j 2 $pitted"
for option in $("$inspect" --help | sed -nE 's/^ *(-[a-z])?(, )?(--[a-z-]+) <.*/\1 \3/p'); do
    verify "the value of $option is no image" same "$(inspected "$option" 4)" "$option 4 $pitted"
done
verify "an option's value after = is no image either" same "$(inspected --scale=2)" "--scale=2 $pitted"
verify "an image is passed on" same "$(inspected --standard mm "a b.jpg" --json)" "--standard mm a b.jpg --json"
verify "a folder that looks like a value is passed on" same "$(inspected --json mm)" "--json mm"
verify "behind -- an image may begin with a dash" same "$(inspected --json -- -clean.jpg)" "--json -- -clean.jpg"
verify "behind -- alone a sample is inspected" same "$(inspected --)" "-- $pitted"
verify "standards are listed without a sample" same "$(inspected --list-standards)" "--list-standards"
inspect_status() { PATH="$work/bin:$PATH" "$work/checkout/vantor" inspect; [[ $? -eq 1 ]]; }
verify "the exit code is that of vantor-inspect" inspect_status

# unbuilt COMMAND: it ends with 69, since 1 is a verdict, and starts nothing
unbuilt() {
    local status=0
    PATH="$work/bin:$PATH" "$work/checkout/vantor" "$1" >"$work/stdout" 2>"$work/stderr" || status=$?
    same "$status" 69 && same "$(<"$work/stdout")" "" && [[ $(<"$work/stderr") == *"vantor: cannot build vantor-$2"* ]]
}
configured_again() { [[ $(calls_of cmake inspect | head -n 1) == "--preset release" ]]; }
stand_in cmake 'exit 1'
verify "a build that fails is no verdict" unbuilt inspect inspect
verify "a build of the tester that fails is told" unbuilt app tester
rm "$work/checkout/build/release/CMakeCache.txt"
verify "a configuration that fails is no verdict" unbuilt inspect inspect
verify "a folder that is half configured is configured" configured_again
stand_in dpkg-query ''
verify "a failing installation is no verdict" unbuilt inspect inspect

# --- Counts -----------------------------------------------------------------------------------------------------------

# counts STATUS: what ./vantor makes of ctest's log on stdin
counts() { bash -c 'source "$1"; count_tests "$2"' - "$root/vantor" "$1"; }

# test_log VERDICT [LINE...]: one test's part of ctest's log
test_log() {
    printf '1/9 Testing: some\n1/9 Test: some\nCommand: "/some"\nOutput:\n'
    printf '%s\n' "${@:2}" "Test time =   0.01 sec"
    case $1 in
    Matched) printf '%s\n' "Test Fail Reason:" "Error regular expression found in output. Regex=[QWARN  :]" ;;
    *) printf '%s\n' "Test $1." ;;
    esac
    printf '"some" end time: Jan 01 00:00 UTC\n'
}
verify "a Qt Test program counts by its functions, without set-up and tear-down" same "$(
    test_log Passed "PASS   : A::initTestCase()" "PASS   : A::one()" "PASS   : A::two(row)" \
        "PASS   : A::cleanupTestCase()" "Totals: 4 passed, 0 failed, 0 skipped, 0 blacklisted, 0ms" | counts 0
)" "2 passed, 0 failed"
verify "its failures count once" same "$(
    test_log Failed "PASS   : A::initTestCase()" "FAIL!  : A::one()" "PASS   : A::cleanupTestCase()" \
        "Totals: 2 passed, 1 failed, 0 skipped, 0 blacklisted, 0ms" | counts 8
)" "0 passed, 1 failed"
verify "another program counts as one" same "$({ test_log Passed; test_log Failed; } | counts 8)" "1 passed, 1 failed"
verify "a crash counts as a failure" same "$(test_log Failed "PASS   : A::initTestCase()" | counts 8)" \
    "0 passed, 1 failed"
verify "a crash after the totals counts as a failure" same "$(
    test_log Failed "PASS   : A::one()" "Totals: 1 passed, 0 failed, 0 skipped, 0 blacklisted, 0ms" | counts 8
)" "1 passed, 1 failed"
verify "a program that is not there counts as a failure" same "$(
    test_log Passed | sed 's/^Command: .*/Command: ""/' | counts 8
)" "0 passed, 1 failed"
verify "a warning that nobody expected counts as a failure" same "$(
    test_log Matched "PASS   : A::one()" "Totals: 1 passed, 0 failed, 0 skipped, 0 blacklisted, 0ms" | counts 8
)" "1 passed, 1 failed"
verify "a failing ctest is never counted as good" same "$(counts 8 </dev/null)" "0 passed, 1 failed"

# --- Reasons ----------------------------------------------------------------------------------------------------------

reasons() { bash -c 'source "$1"; tell_failed' - "$root/vantor"; }
verify "what passes needs no reason" same "$(test_log Passed "QWARN  : A::one() expected" | reasons)" ""
verify "a failing function is told with its place, without the noise before it" same "$(
    {
        test_log Passed "QWARN  : A::one() expected"
        test_log Failed "QDEBUG : A::one() noise" "FAIL!  : A::one() 'is()' returned FALSE. ()" "   Loc: [a.cpp(1)]"
    } | reasons
)" "failed: some: FAIL!  : A::one() 'is()' returned FALSE. ()
failed: some:    Loc: [a.cpp(1)]"
verify "a program that says nothing known is told by its last lines" same "$(
    test_log Failed "QWARN  : A::one() early" {1..60} | reasons | sed -n '1p;$p'
)" "failed: some: 24
failed: some: \"some\" end time: Jan 01 00:00 UTC"
verify "a warning that nobody expected is told" same "$(
    test_log Matched "QWARN  : A::one() dear me" "PASS   : A::one()" | reasons
)" "failed: some: Error regular expression found in output. Regex=[QWARN  :]
failed: some: QWARN  : A::one() dear me"
verify "a program that is not there is told" same "$(
    test_log Passed | sed 's/^Command: .*/Command: ""/' | reasons | sed -n 3p
)" 'failed: some: Command: ""'

echo "$passed passed, $failed failed"
[[ $failed -eq 0 ]]
