#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the Qt that is installed once more, from Debian's source, with ThreadSanitizer in it: Core, Concurrent, Network
# and Test. Done once per version, outside of the checkout. Prints the folder of the libraries.
set -euo pipefail

version=$(dpkg-query -W -f '${source:Version}' libqt5core5a)
cache=${XDG_CACHE_HOME:-$HOME/.cache}/vantor/qt-tsan
target=$cache/${version//[^[:alnum:].+-]/_}
work=$cache/work
log=$cache/build.log
readonly version cache target work log

if [[ ! -e $target/libQt5Test.so.5 ]]; then
    echo "Building Qt $version with ThreadSanitizer, once: some ten minutes, see $log" >&2
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

        cd "$work/build"
        source=$(echo "$work"/qtbase-opensource-src-*/)
        "${source}configure" -opensource -confirm-license -prefix "$work/nowhere" \
            -release -force-debug-info -sanitize thread -no-pch -no-gui -no-widgets -no-dbus -no-openssl -no-icu \
            -no-feature-sql -no-feature-xml -nomake examples -nomake tests
        nice -n 19 make -j "${JOBS:-$(nproc)}" -C . sub-src-qmake_all
        nice -n 19 make -j "${JOBS:-$(nproc)}" -C src sub-concurrent sub-network sub-testlib
    } >"$log" 2>&1 || { tail -n 20 "$log" >&2; echo "Qt was not built, see $log" >&2; exit 1; }
    mkdir -p "$target"
    cp -a "$work"/build/lib/libQt5*.so* "$target"
    rm -rf "$work"
fi
echo "$target"
