#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs a program with a session bus, a bus for assistive technology and a home of its own; Qt tells that bus what its
# windows show.
# Usage: with-access-bus.sh PROGRAM [ARGUMENT...]
set -euo pipefail

[[ $# -gt 0 ]] || { echo "usage: with-access-bus.sh PROGRAM [ARGUMENT...]" >&2; exit 64; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
status=0
env -u DBUS_SESSION_BUS_ADDRESS -u AT_SPI_BUS_ADDRESS -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME \
    HOME="$folder" GSETTINGS_BACKEND=memory QT_ACCESSIBILITY=1 QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 \
    dbus-run-session -- "$@" || status=$?
exit "$status"
