#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# inside.sh [--as-user] PROGRAM [ARGUMENT...]: runs a test on a machine of its own, made of namespaces: /etc, /opt, /run,
# /tmp and more are copies in memory, and the only network is a cable to a peer. The machine below stays as it is.
# --as-user starts it without root's rights. Exit code 77: not possible here; with CI set that is a failure.
set -euo pipefail

self=$(readlink -f "${BASH_SOURCE[0]}")
root=${self%/tests/network/inside.sh}
readonly self root
readonly skipped=77
readonly nobody=65534

unavailable() {
    printf 'SKIPPED: %s\n' "$*"
    [[ -z ${CI:-} ]] || { echo 'CI is set: this is a failure'; exit 1; }
    exit "$skipped"
}

can_unshare() {
    local problem
    problem=$(unshare "$@" true 2>&1) || unavailable "no namespaces: ${problem:-unshare failed}"
}

# enter PROGRAM...: as root, or in a user namespace that makes one root
enter() {
    local -a flags=(--mount --net --pid --uts --fork --kill-child --mount-proc)
    [[ $EUID -eq 0 ]] || flags+=(--user --map-root-user)
    local program
    for program in dhclient dnsmasq ip nsenter sshd unshare; do
        [[ -n $(PATH=$PATH:/sbin:/usr/sbin type -P "$program") ]] || unavailable "there is no $program"
    done
    can_unshare "${flags[@]}"
    VANTOR_LAB=inside exec unshare "${flags[@]}" "$self" --inside "$@"
}

# as_user PROGRAM...: the checkout may lie where only root can look, so the user gets it under /mnt
as_user() {
    [[ $EUID -eq 0 ]] || enter "$@"
    can_unshare --mount
    # shellcheck disable=SC2016 # the inner shell expands it
    exec unshare --mount bash -c 'mount --bind "$1" /mnt && shift && exec "$@"' - "$root" \
        setpriv --reuid="$nobody" --regid="$nobody" --clear-groups --inh-caps=-all \
        env HOME=/ /mnt/tests/network/inside.sh "/mnt${1#"$root"}" "${@:2}"
}

# in_memory FOLDER...: an empty folder in place of each
in_memory() {
    local folder
    for folder; do
        [[ ! -d $folder ]] || mount -t tmpfs -o mode=755 tmpfs "$folder"
    done
}

make_files() {
    mount --make-rprivate /
    in_memory /run
    mkdir -p /run/checkout /run/etc /run/work /run/programs /run/sshd
    mount --bind "$root" /run/checkout
    mount -t overlay overlay -o lowerdir=/etc,upperdir=/run/etc,workdir=/run/work /etc
    cp "$root/tests/network/systemctl" /run/programs/
    mount -t overlay overlay -o lowerdir=/run/programs:/usr/bin /usr/bin
    rm -f /etc/resolv.conf && touch /etc/resolv.conf # an ordinary user could not write what root owns
    in_memory /etc/dhcp /opt /var/lib/dhcp /var/lib/misc /root /proc/sys/vm /mnt
    mkdir -p /etc/dhcp/dhclient-e{nter,xit}-hooks.d /opt/tester
    cp -r /run/checkout/scripts /opt/tester/
    ln -s /opt/tester/scripts/ipdetails-enter /etc/dhcp/dhclient-enter-hooks.d/
    echo 1 >/proc/sys/vm/drop_caches
    echo 0 >/proc/sys/vm/compact_memory
    mount -t tmpfs -o mode=1777 tmpfs /tmp
}

# Two cables, d0 to p0 and d1 to p1. The peer is the DHCP server, router and measurement board.
make_network() {
    hostname tester
    ip netns add peer
    echo 0 >/proc/sys/net/ipv6/conf/default/accept_dad
    nsenter --net=/run/netns/peer sh -c 'echo 0 >/proc/sys/net/ipv6/conf/default/accept_dad'
    local i
    for i in 0 1; do
        ip link add "d$i" address "02:00:00:00:0$i:01" type veth peer name "p$i" netns peer
        ip link set "d$i" up
        ip -n peer link set "p$i" up
        ip -n peer address add "10.2$i.0.1/24" dev "p$i"
        ip -n peer address add "fd00:2$i::1/64" dev "p$i"
    done
    ip link set lo up
    ip -n peer link set lo up
}

inside() {
    export PATH=/usr/local/bin:/usr/local/sbin:/usr/bin:/usr/sbin:/bin:/sbin LC_ALL=C.UTF-8
    make_files
    make_network
    local -r program=/run/checkout${1#"$root"}
    export LD_LIBRARY_PATH=${program%/bin/*}/lib
    cd /tmp
    "$program" "${@:2}"
}

case $1 in
--as-user) as_user "${@:2}" ;;
--inside) inside "${@:2}" ;;
*) enter "$@" ;;
esac
