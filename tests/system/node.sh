# Nodes for the demo and the system tests: each a network, mount and PID namespace of its own, with
# private /tmp, /run, /var and /dev/log, its own /proc and /sys, and nothing within reach that could
# restart the machine. Sourced by bash scripts; needs root, or user namespaces.
# shellcheck shell=bash

. "${BASH_SOURCE[0]%/*}/node_init.sh"

node_root=$(mktemp -d /tmp/koraha-nodes.XXXXXX)
declare -A node_pid=()

# node_start NAME BUILD: makes a node.
node_start() {
    local name=$1 build=$2 flags=(--net --mount --pid --ipc --uts --fork --kill-child)
    [ "$(id -u)" = 0 ] || flags+=(--user --map-root-user)
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
    [ "$(id -u)" = 0 ] || flags+=(--user --preserve-credentials)
    nsenter --target "$inner" "${flags[@]}" "$@"
}

# node_enter_net NAME COMMAND...: runs a command in the node's network alone, with our own processes
# in sight.
node_enter_net() {
    local inner flags=(--net)
    inner=$(node_inner "$1") || return 1
    shift
    [ "$(id -u)" = 0 ] || flags+=(--user --preserve-credentials)
    nsenter --target "$inner" "${flags[@]}" "$@"
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
    rm -rf "$node_root"
}
