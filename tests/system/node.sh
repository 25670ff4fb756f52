# SPDX-License-Identifier: Apache-2.0
# Nodes for the demo and the system tests: each a network, mount and PID namespace of its own, with
# private /tmp, /run, /var and /dev/log, its own /proc and /sys, and nothing within reach that could
# restart the machine. Sourced by bash scripts; needs root, or user namespaces.
# shellcheck shell=bash

. "${BASH_SOURCE[0]%/*}/node_init.sh"

# node_own_machine SCRIPT ARGUMENT...: an ordinary user becomes root of a user namespace that owns
# both nodes (a cable joins two nodes only if one user owns them): the script starts again inside it.
# No memory can be locked there: node_memory_limit says what a daemon is to be started with.
node_own_machine() {
    [ "$(id -u)" != 0 ] || return 0
    if ! unshare --user --map-root-user true 2> /dev/null; then
        echo "This user may not make user namespaces. Run this as root, or allow them:" >&2
        echo "  sudo sysctl kernel.unprivileged_userns_clone=1 user.max_user_namespaces=10000" >&2
        exit 1
    fi
    node_memory_limit=0 exec unshare --user --map-root-user "$@"
}
node_memory_limit=${node_memory_limit:-unlimited}

node_root=
declare -A node_pid=()

# node_start NAME BUILD: makes a node.
node_start() {
    local name=$1 build=$2 flags=(--net --mount --pid --ipc --uts --fork --kill-child)
    [ -n "$node_root" ] || node_root=$(mktemp -d /tmp/koraha-nodes.XXXXXX)
    mkdir -p "$node_root/$name" "$node_root/build"
    unshare "${flags[@]}" bash -c "$(declare -f node_init); node_init '$name' '$node_root' '$build'" &
    node_pid[$name]=$!
    local deadline=$((SECONDS + 20))
    until node_run "$name" test -e /run/ready 2> /dev/null; do
        [ $SECONDS -lt $deadline ] || { echo "node $name did not start" >&2; return 1; }
        sleep 0.1
    done
}

# node_inner NAME: the process that is number 1 inside the node.
node_inner() {
    pgrep -P "${node_pid[$1]}" | head -n 1
}

# node_run NAME COMMAND...: runs a command inside the node.
node_run() {
    local inner flags=(--net --mount --pid --ipc --uts)
    inner=$(node_inner "$1") && [ -n "$inner" ] || return 1
    shift
    nsenter --target "$inner" "${flags[@]}" "$@"
}

# node_enter_net NAME COMMAND...: runs a command in the node's network alone, with our own processes
# in sight.
node_enter_net() {
    local inner
    inner=$(node_inner "$1") || return 1
    shift
    nsenter --target "$inner" --net "$@"
}

# node_join: a cable between node1 and node2, 10.77.0.1 and 10.77.0.2 on link0.
node_join() {
    node_enter_net node1 ip link add link0 type veth peer name link0 netns "$(node_inner node2)"
    local number
    for number in 1 2; do
        node_run "node$number" ip addr add "10.77.0.$number/24" dev link0
        node_run "node$number" ip link set link0 up
    done
}

node_stop_all() {
    local name
    for name in "${!node_pid[@]}"; do
        kill -KILL "$(node_inner "$name")" "${node_pid[$name]}" 2> /dev/null
        wait "${node_pid[$name]}" 2> /dev/null
    done
    node_pid=()
    [ -z "$node_root" ] || rm -rf "$node_root"
}
