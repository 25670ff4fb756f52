#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Obeys the commands that come through the serial port from the host, one line each: ID, a blank, the
# command in base64. The answer: ID, exit status, output in base64.
export PATH=/usr/local/sbin:/usr/sbin:/sbin:/usr/bin:/bin HOME=/root LC_ALL=C
modprobe virtio_console
port=
while [ -z "$port" ]; do
    port=$(ls /dev/vport*p1 2> /dev/null)
done
exec 3<> "$port"
echo "ready $(cat /proc/sys/kernel/random/boot_id)" >&3
while :; do
    read -r id command <&3 || { sleep 0.1; continue; } # the host is not connected
    [ -n "$command" ] || continue
    (
        command=$(printf '%s' "$command" | base64 -d)
        output=$(sh -c "$command" 2>&1 3>&-)
        status=$?
        printf '%s %s %s\n' "$id" "$status" "$(printf '%s' "$output" | base64 -w 0)" |
            flock /run/lock/port cat >&3
    ) < /dev/null &
done
