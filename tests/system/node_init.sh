# SPDX-License-Identifier: Apache-2.0
# Builds a node from inside its new namespaces. Sourced by bash scripts, and by the system tests.
# shellcheck shell=bash

# Runs inside the new namespaces as their first process: builds the private file systems, says that
# it is ready, and waits to be killed, which ends every process of the node.
node_init() {
    local name=$1 keep=$2 build=$3
    mount --make-rprivate /
    mount -t proc proc /proc
    mount -t sysfs sysfs /sys 2> /dev/null || true
    mkdir -p "$keep/$name" "$keep/build"
    mount --bind "$build" "$keep/build"
    mount --rbind "$keep" /mnt
    mount -t tmpfs -o mode=755,size=64m tmpfs /var
    mount -t tmpfs -o mode=755,size=16m tmpfs /run
    mount -t tmpfs -o mode=1777,size=16m tmpfs /tmp
    mkdir -p /var/lib/ha /var/log/ha /tmp/ha /var/packages/Twinhold/target/sbin
    [ ! -e /proc/sysrq-trigger ] || mount --bind /dev/null /proc/sysrq-trigger
    mount -t tmpfs -o mode=755,size=1m tmpfs "/mnt/$name"
    mkdir "/mnt/$name/dev"
    for device in null zero full random urandom; do
        touch "/mnt/$name/dev/$device"
        mount --bind "/dev/$device" "/mnt/$name/dev/$device"
    done
    ln -s /proc/self/fd "/mnt/$name/dev/fd"
    mount --rbind "/mnt/$name/dev" /dev
    ip link set lo up
    # shellcheck disable=SC2016 # expanded by the tool, not here
    printf '#!/bin/sh\necho "$@" >> /run/notifications\n' > /var/packages/Twinhold/target/sbin/koraha
    printf '#!/bin/sh\necho restart >> /run/restarts\n' > /var/packages/Twinhold/target/sbin/restart
    chmod 755 /var/packages/Twinhold/target/sbin/*
    echo '{"drbd": false, "orderlyCommand": ["/var/packages/Twinhold/target/sbin/restart"]}' \
        > /var/lib/ha/hasupport.conf
    touch /run/ready
    exec sleep infinity
}
