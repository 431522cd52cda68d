#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Opens a window on a private display ":0.0": Xvfb in namespaces of its own, so that no real display is touched.
# Usage: tst_startup_window.sh PROGRAM
set -euo pipefail

# The inner part runs as process 1 of the namespaces; all that it starts ends with it.
if [[ ${1:-} == inside ]]; then
    program=$2
    mount -t tmpfs tmpfs /tmp/.X11-unix
    chmod 1777 /tmp/.X11-unix
    Xvfb :0 -screen 0 320x240x24 -nolock -nolisten tcp &>/tmp/.X11-unix/log &
    for ((i = 0; i < 200; i++)); do
        [[ ! -S /tmp/.X11-unix/X0 ]] || break
        sleep 0.05
    done
    [[ -S /tmp/.X11-unix/X0 ]] || { echo "WRONG  there is no display"; cat /tmp/.X11-unix/log; exit 1; }

    failed=0
    for mode in opengl software; do
        if timeout 60 "$program" "$mode"; then
            echo "ok     a window with $mode"
        else
            echo "WRONG  a window with $mode"
            failed=$((failed + 1))
        fi
    done
    echo "$((2 - failed)) passed, $failed failed"
    exit "$failed"
fi

# Nothing of the caller's display and platform may help.
# The OpenGL driver is unloaded before leaks are counted, so what it keeps has no name that could be left out.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
unset QT_QPA_PLATFORM DISPLAY WAYLAND_DISPLAY XAUTHORITY QT_QUICK_BACKEND QMLSCENE_DEVICE
mkdir -p /tmp/.X11-unix
as_root=()
[[ $EUID -eq 0 ]] || as_root=(--user --map-root-user)
exec unshare "${as_root[@]}" --mount --net --pid --fork --kill-child --mount-proc -- "$0" inside "$1"
