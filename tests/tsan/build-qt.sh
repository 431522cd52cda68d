#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds Core of the Qt that is installed once more, from Debian's source, with ThreadSanitizer in it: what threads share
# of Qt is there. Done once per version, outside of the checkout. Prints the folder of the library. Ends with 69 when the
# source cannot be fetched.
set -euo pipefail

version=$(dpkg-query -W -f '${source:Version}' libqt5core5a)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/vantor/qt-tsan
target=$cache/${version//[^[:alnum:].+-]/_}
work=$cache/work
log=$cache/build.log
readonly version cache target work log
readonly unavailable=69

if [[ ! -e $target/libQt5Core.so.5 ]]; then
    echo "Building Qt $version with ThreadSanitizer, once: some five minutes, see $log" >&2
    rm -rf "$work"
    mkdir -p "$work"/{lists,apt,build}/partial
    {
        # The sources of what apt knows, with lists of our own: the machine's set-up stays as it is.
        # shellcheck disable=SC2016 # apt expands these
        apt-get indextargets --format 'deb-src $(REPO_URI) $(RELEASE) $(COMPONENT)' 'Created-By: Packages' |
            sort -u >"$work/sources.list"
        apt=(apt-get -q -o "Dir::Etc::SourceList=$work/sources.list" -o Dir::Etc::SourceParts=/dev/null
            -o "Dir::State::Lists=$work/lists" -o "Dir::Cache=$work/apt" -o APT::Sandbox::User=)
        "${apt[@]}" update
        (cd "$work" && "${apt[@]}" source "qtbase-opensource-src=$version")
    } >"$log" 2>&1 || { tail -n 20 "$log" >&2; echo "the source of Qt cannot be fetched" >&2; exit "$unavailable"; }
    {
        cd "$work/build"
        source=$(echo "$work"/qtbase-opensource-src-*/)
        MAKEFLAGS=-j${JOBS:-$(nproc)}
        export MAKEFLAGS
        # The tools come from the Qt that is installed; functions and lines are all that a report needs.
        "${source}configure" -opensource -confirm-license -prefix "$work/nowhere" -external-hostbindir /usr/lib/qt5/bin \
            -release -optimize-size -sanitize thread -no-gui -no-widgets -no-dbus -no-openssl -no-icu \
            -no-feature-sql -no-feature-xml -no-feature-network -no-feature-testlib -no-feature-concurrent \
            -nomake examples -nomake tests -nomake tools QMAKE_CXXFLAGS+=-g1
        make sub-src-qmake_all
        make -C src/corelib
    } >>"$log" 2>&1 || { tail -n 20 "$log" >&2; echo "Qt was not built, see $log" >&2; exit 1; }
    mkdir -p "$target.new"
    cp -a "$work"/build/lib/libQt5Core.so* "$target.new"
    rm -rf "$target" "$work"
    mv "$target.new" "$target"
fi
echo "$target"
