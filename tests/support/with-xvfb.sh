#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs a program on a display of its own, which nobody sees and no other program shares. Its OpenGL is Mesa's, in
# software, so that pixels are the same on every machine.
# Usage: with-xvfb.sh PROGRAM [ARGUMENT...]
set -euo pipefail

[[ $# -gt 0 ]] || { echo "usage: with-xvfb.sh PROGRAM [ARGUMENT...]" >&2; exit 64; }

folder=$(mktemp -d)
server=
# shellcheck disable=SC2317 # the trap calls it
finish() {
    if [[ -n $server ]]; then
        kill "$server" && wait "$server"
    fi 2>/dev/null || true
    rm -rf "$folder"
}
trap finish EXIT

# The server picks a free number and writes it down when it is ready.
mkfifo "$folder/number"
exec 3<>"$folder/number"
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset >"$folder/log" 2>&1 &
server=$!
read -r -t 30 -u 3 number || { echo "Xvfb does not start:" >&2; cat "$folder/log" >&2; exit 1; }

status=0
env -u WAYLAND_DISPLAY XDG_RUNTIME_DIR="$folder" DISPLAY=":$number" QT_QPA_PLATFORM=xcb LIBGL_ALWAYS_SOFTWARE=1 "$@" 3>&- || status=$?
exit "$status"
