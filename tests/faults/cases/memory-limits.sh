# SPDX-License-Identifier: Apache-2.0
# Memory lock limits of an ordinary user. What the daemon makes of each is in docs/failures.md.
# shellcheck shell=bash disable=SC2154,SC2016

# In a user namespace root is an ordinary user already, as far as locked memory is concerned.
ordinary=()
[ "$(wc -l < /proc/self/uid_map)" = 1 ] && grep -q 4294967295 /proc/self/uid_map &&
    ordinary=(setpriv --reuid=65534 --regid=65534 --clear-groups)

# A node that an ordinary user can run the daemon in, from a copy that it can reach.
ordinary_node() {
    new_node "$1"
    listen_to_system_log "$1"
    node_run "$1" bash -c '
        mkdir -p /var/copy/bin /var/copy/lib
        cp -L /mnt/build/bin/koraharemotemond /var/copy/bin
        cp -L /mnt/build/lib/libkora*.so.1 /var/copy/lib
        echo "0 2147483647" > /proc/sys/net/ipv4/ping_group_range
        chmod 666 /dev/log
        chmod 1777 /run' || return 1
    [ ${#ordinary[@]} = 0 ] || node_run "$1" chown -R 65534:65534 /var/log/ha /tmp/ha
}

works() { says "$1" ":87 Create flag: /tmp/ha/ha_remote_busy" && [ -n "$(daemon_pid "$1")" ]; }
settled() { has_ended "$1" || works "$1"; }
locked_memory() { node_run "$1" awk '/^VmLck/ { print $2 }' "/proc/$(daemon_pid "$1")/status"; }

# What came of it, in one word.
outcome() {
    if ended_with "$1" 1 && says "$1" ":462 Failed to get thread/future" &&
        says "$1" ":566 Failed to do "; then
        echo "no-threads"
    elif found_no_memory "$1"; then
        echo "no-memory"
    elif has_ended "$1"; then
        echo "ended with $(node_run "$1" cat /run/exit)"
    elif [ "$(locked_memory "$1")" = 0 ]; then
        echo "unlocked"
    else
        echo "locked"
    fi
}

# try_limit KIB: starts the daemon with the limit, waits until it works or has ended, and some more.
try_limit() {
    ordinary_node "limit$1" || return 1
    daemon_at=/var/copy/bin/koraharemotemond start_daemon "limit$1" prlimit --memlock=$(($1 * 1024)) \
        "${ordinary[@]}"
}

limits=(0 2048 6144 6656 7168 7424 7680 7936 8192)
# More than most users may ask for: where root may raise limits, these are tried, too.
for limit in 8704 9216 10240 16384; do
    ! prlimit --memlock=$((limit * 1024)) true 2> /dev/null || limits+=("$limit")
done
for limit in "${limits[@]}"; do
    try_limit "$limit"
done
for limit in "${limits[@]}"; do
    node=limit$limit
    eventually "with $limit KiB the daemon works or ends" 60 settled "$node"
    sleep 2 # what was too little shows at once, if it shows
    result=$(outcome "$node")
    say "     $limit KiB: $result"
    case $limit/$result in
        0/unlocked)
            check "it says that it may not lock" \
                told "$node" "koraharemotemond:547 Memory lock failed: Operation not permitted" ;;
        *[1-9]*/unlocked)
            check "it says that the limit is too low" \
                told "$node" "koraharemotemond:547 Memory lock failed: Cannot allocate memory" ;;
        [1-9]*/locked | [1-9]*/no-threads | [1-9]*/no-memory) pass "with $limit KiB: $result" ;;
        *) fail "with $limit KiB: $result" ;;
    esac
    end_node "$node"
done
