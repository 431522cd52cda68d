#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs a build of the library into a temporary prefix and uses it as a stranger would.
# Usage: check.sh BUILD-FOLDER
set -euo pipefail

here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
source_tree=$(readlink -f "$here/../..")
build=$(readlink -f "${1:?usage: check.sh BUILD-FOLDER}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly here source_tree build work
prefix="$work/a prefix" # with a blank: such folders exist

passed=0
failed=0

# check WHAT COMMAND...: silent about a command that succeeds
check() {
    if "${@:2}" >"$work/log" 2>&1; then
        echo "ok     $1"
        passed=$((passed + 1))
    else
        echo "WRONG  $1"
        cat "$work/log"
        failed=$((failed + 1))
    fi
}

not() { ! "$@"; }

# absent PATTERN... FOLDER...: no file there mentions it
absent() {
    local status=0
    grep -rni "$@" || status=$?
    [[ $status -eq 1 ]] # 2 would be a folder that does not exist
}

# cached NAME: a variable of the build's cache
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }

compiler=$(cached CMAKE_CXX_COMPILER)
flags=(-std=c++17 -fPIC)
[[ $(cached VANTORBASE_SANITIZE) != ON ]] || flags+=("-fsanitize=address,undefined")

# --- Install ----------------------------------------------------------------------------------------------------------

finish() {
    echo "$passed passed, $failed failed"
    [[ $failed -eq 0 ]]
}

check "the library installs" cmake --install "$build" --prefix "$prefix"
[[ $failed -eq 0 ]] || { finish; exit 1; }
headers=$prefix/include/VantorBase
library=$(find "$prefix" -name 'libVantorBase.so')
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name vantorbase.pc)")
export PKG_CONFIG_PATH

# --- A program that finds the package through CMake -------------------------------------------------------------------

# through_cmake PREFIX FOLDER [OPTION...]
through_cmake() {
    rm -rf "$2"
    cmake -S "$here" -B "$2" -G Ninja -DCMAKE_PREFIX_PATH="$1" -DCMAKE_CXX_COMPILER="$compiler" \
        -DSCOPE_EXAMPLE="$source_tree/examples/scope/main.cpp" \
        -DCMAKE_CXX_FLAGS="${flags[*]:2}" "${@:3}" &&
        cmake --build "$2"
}
check "a program builds through CMake" through_cmake "$prefix" "$work/cmake"
check "it runs and sees the right values" "$work/cmake/consumer"
[[ ! -x $work/cmake/consumer ]] || "$work/cmake/consumer" || true
check "a program stores an inspection" "$work/cmake/records"
check "a program writes a report" env QT_QPA_PLATFORM=offscreen "$work/cmake/reports"
fails_the_pitted_face() {
    local verdict status=0
    verdict=$(QT_QPA_PLATFORM=offscreen timeout 60 "$work/cmake/scope") || status=$?
    [[ $status -eq 1 && $verdict == FAILED ]]
}
check "a program photographs and grades what the simulated scope sees" fails_the_pitted_face

# --- The same program through pkg-config ------------------------------------------------------------------------------

# with_packages "PACKAGE..." ARGUMENT...: xargs undoes the escapes that pkg-config writes for blanks
with_packages() {
    local -a packages
    read -ra packages <<<"$1"
    pkg-config --cflags --libs "${packages[@]}" | xargs "$compiler" "${flags[@]}" "${@:2}"
}
with_pkg_config() { with_packages vantorbase "$@"; }

check "the program builds through pkg-config" \
    with_packages "vantorbase Qt5Qml" "$here/main.cpp" -o "$work/consumer"
check "it runs and sees the right values" env LD_LIBRARY_PATH="$(dirname "$library")" "$work/consumer"

check "a program with a store builds through pkg-config" \
    with_packages vantorbase-records "$here/records.cpp" -o "$work/records"
check "it stores an inspection" env LD_LIBRARY_PATH="$(dirname "$library")" "$work/records"

check "a program with reports builds through pkg-config" \
    with_packages vantorbase-reports "$here/reports.cpp" -o "$work/reports"
check "it writes a report" \
    env QT_QPA_PLATFORM=offscreen LD_LIBRARY_PATH="$(dirname "$library")" "$work/reports"

# The README's first program, as a reader would copy it.
awk '/^```cpp$/ { block++; next } /^```$/ { if (block) exit } block' "$source_tree/README.md" >"$work/readme.cpp"
check "the README's program builds" with_pkg_config "$work/readme.cpp" -o "$work/readme"
check "it grades a face" \
    env LD_LIBRARY_PATH="$(dirname "$library")" "$work/readme" "$source_tree/data/samples/clean.jpg"

each_header_stands_alone() {
    local header
    while IFS= read -r -d '' header; do
        echo "#include <${header#"$headers/"}>" >"$work/header.cpp"
        with_pkg_config -Wall -Wextra -Wpedantic -Werror -fsyntax-only "$work/header.cpp" || return 1
    done < <(find "$headers" -name '*.h' -print0)
}
check "every installed header compiles by itself" each_header_stands_alone

# --- What is installed, and what is not -------------------------------------------------------------------------------

private_headers_stay_at_home() {
    local strays
    strays=$(find "$prefix" -name 'AnalyserPrivate*' -o -name '*_p.h')
    echo "$strays"
    [[ -z $strays ]]
}
package_files=("$(dirname "$library")/cmake/VantorBase" "$PKG_CONFIG_PATH")
# They are sourced, so nobody needs to execute them, but everybody may read them.
hooks_are_plain_files() {
    local hooks
    hooks=$(find "$prefix" -type f -name 'ipdetails*' -perm 644 -printf '%f ')
    echo "$hooks"
    [[ $hooks == *'ipdetails '* && $hooks == *'ipdetails-enter '* ]]
}
check "the hooks of dhclient are plain files" hooks_are_plain_files
check "private headers stay at home" private_headers_stay_at_home
check "no installed header mentions OpenCV" absent -e opencv -e cv:: "$headers"
check "no package file asks for OpenCV" absent opencv "${package_files[@]}"
check "no package file names the build or the source" absent -F -e "$build" -e "$source_tree" "${package_files[@]}"

installed_programs_start() {
    local program
    for program in "$prefix"/bin/vantor-*; do
        QT_QPA_PLATFORM=offscreen "$program" --help || return 1
    done
}
[[ ! -d $prefix/bin ]] || check "the installed programs start" installed_programs_start

# What is no picture there is left out, which the exit code tells.
installed_program_fills_a_store() {
    local status=0
    "$prefix/bin/vantor-records" import "$source_tree/data/samples" --job Samples --store "$work/store" || status=$?
    [[ $status -eq 2 ]] && "$prefix/bin/vantor-records" verify --again --store "$work/store" &&
        "$prefix/bin/vantor-records" export --pdf "$work/report.pdf" --store "$work/store" &&
        [[ $(head -c 5 "$work/report.pdf") == %PDF- ]]
}
[[ ! -x $prefix/bin/vantor-records ]] ||
    check "the installed vantor-records fills a store" installed_program_fills_a_store

# The work directory links to what the tester found.
installed_tester_offers_its_scope() {
    local status=0 plugin
    "$source_tree/tests/support/with-xvfb.sh" timeout 4 "$prefix/bin/vantor-tester" --folder "$work/tester" || status=$?
    [[ $status -eq 124 ]] || return 1 # it was still running
    plugin=$(readlink -f "$work/tester/lib/qt5/plugins/mediaservice/libsimscope.so")
    echo "$plugin"
    [[ $plugin == "$prefix"/* ]] && ! ldd "$plugin" | grep 'not found' && ldd "$plugin" | grep -F "$prefix"
}
[[ ! -x $prefix/bin/vantor-tester ]] || ! command -v Xvfb >/dev/null ||
    check "the installed tester offers its simulated scope" installed_tester_offers_its_scope

# Apart from the names that the toolchain makes, strong symbols belong to what a header marks as exported. Weak ones are
# inline functions and templates, many of them of Qt and OpenCV, which cannot clash.
strong_symbols() {
    nm -DC --defined-only "$library" | awk '$2 ~ /^[TDBR]$/ && $3 !~ /^(__|_edata$|_end$)/' | cut -d' ' -f3-
}
only_exported_names() {
    local names
    names=$(grep -rhoP --include='*.h' 'VANTORBASE_EXPORT [^(]*?\K\w+(?=\(|$| :)' "$source_tree/src" | paste -sd'|')
    echo "exported: $names"
    [[ -n $(strong_symbols) ]] && ! strong_symbols | grep -vE "(^|[ :])($names)(::|\(|\$)"
}
check "only what is exported has symbols" only_exported_names
echo "       $(strong_symbols | wc -l) strong symbols," \
    "$(nm -D --defined-only "$library" | awk '$2 ~ /^[WVu]$/' | wc -l) weak ones," \
    "$(nm -DC --defined-only "$library" | awk '$2 ~ /^[WVu]$/' | grep -c ' cv::' || true) of these of OpenCV"

# --- Hardening --------------------------------------------------------------------------------------------------------

# hardened BINARY: position independent, no writable tables of functions, no executable stack, guarded stack frames
hardened() {
    local header segments dynamic
    header=$(readelf -hW "$1")
    segments=$(readelf -lW "$1")
    dynamic=$(readelf -dW "$1")
    [[ $header == *'Type:'*' DYN '* ]] || { echo "$1: not position independent"; return 1; }
    [[ $segments == *GNU_RELRO* && $dynamic == *NOW* ]] || { echo "$1: relocations stay writable"; return 1; }
    [[ $segments =~ GNU_STACK[^$'\n']*' RW ' ]] || { echo "$1: the stack is executable"; return 1; }
    [[ $(nm -D --undefined-only "$1") == *__stack_chk_fail* ]] || { echo "$1: stack frames are not guarded"; return 1; }
}
installed_binaries_are_hardened() {
    local binary count=0 status=0
    while IFS= read -r -d '' binary; do
        [[ $(head -c 4 "$binary") == $'\x7fELF' ]] || continue
        hardened "$binary" || status=1
        count=$((count + 1))
    done < <(find "$prefix" -type f -print0)
    echo "$count binaries"
    [[ $status -eq 0 && $count -gt 1 ]]
}
fortified_calls_are_used() { nm -D --undefined-only "$library" | grep '__[a-z]*_chk@'; }
check "every installed binary is hardened" installed_binaries_are_hardened
[[ $(cached VANTORBASE_SANITIZE) == ON ]] || check "the library calls fortified functions" fortified_calls_are_used

# --- Reading a crash ---------------------------------------------------------------------------------------------------

# The build says of an address which line of which source that is.
tells_the_line() {
    local address
    address=$(nm -DC --defined-only "$library" | sed -n 's/ T UnitHelper::toHexString(.*//p' | head -n 1)
    addr2line -Cfe "$(readlink -f "$library")" "0x$address" | tee /dev/stderr | grep -q 'UnitHelper\.cpp:[1-9]'
}
build_id() { readelf -nW "$1" | sed -n 's/.*Build ID: //p'; }
# What ships has none of it, is the same program otherwise, and is as hard to take over.
ships_without_debug_information() {
    local binary twin count=0 status=0
    while IFS= read -r -d '' binary; do
        [[ $(head -c 4 "$binary") == $'\x7fELF' ]] || continue
        twin=${binary/#"$work/stripped"/"$prefix"}
        [[ $(readelf -SW "$binary") != *.debug_* ]] || { echo "$binary: not stripped"; status=1; }
        [[ $(readelf -SW "$twin") == *.debug_line* ]] || { echo "$twin: nothing to read a crash with"; status=1; }
        [[ -n $(build_id "$binary") && $(build_id "$binary") == $(build_id "$twin") ]] ||
            { echo "$binary: not to be matched with its build"; status=1; }
        hardened "$binary" || status=1
        count=$((count + 1))
    done < <(find "$work/stripped" -type f -print0)
    echo "$count binaries"
    [[ $status -eq 0 && $count -gt 1 ]]
}
check "the build tells the line of an address" tells_the_line
check "the library installs without debug information" cmake --install "$build" --strip --prefix "$work/stripped"
check "what ships can be matched with what can be read" ships_without_debug_information
echo "       $(stat -Lc %s "$library") bytes of library," \
    "$(stat -Lc %s "$(find "$work/stripped" -name libVantorBase.so)") as it ships"

# --- A package that is not whole must not pass ------------------------------------------------------------------------

# damaged WHAT FILE: a copy of the package without this file
damaged() {
    cp -a "$prefix" "$work/$1"
    rm "${2/#"$prefix"/"$work/$1"}"
}
damaged no-library "$(readlink -f "$library")"
check "a package without its library is refused" not through_cmake "$work/no-library" "$work/bad"
damaged no-header "$headers/FiberInspection/Rule.h"
check "a package without a header is noticed" not through_cmake "$work/no-header" "$work/bad"
damaged no-simulation "$(find "$prefix" -name VantorBaseSimulationTargets.cmake)"
check "a package without the component that is asked for is not found" \
    not through_cmake "$work/no-simulation" "$work/bad"
damaged no-config "$(find "$prefix" -name VantorBaseConfig.cmake)"
check "a package without its config is not found" not through_cmake "$work/no-config" "$work/bad"
check "a version that is too old is refused" not pkg-config --exists 'vantorbase >= 999'

finish
