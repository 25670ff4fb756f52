# SPDX-License-Identifier: Apache-2.0
# What the cases of the fault tests share. Sourced by tests/faults/run.
# shellcheck shell=bash disable=SC2154,SC2034

passed=0
failed=0
bin=/mnt/build/bin
log=/var/log/ha/ha.daemon.log

# pass TEXT, fail TEXT: one result.
pass() {
    passed=$((passed + 1))
    say "ok   $1"
}
fail() {
    failed=$((failed + 1))
    say "FAIL $1"
}

# check TEXT COMMAND...: passes when the command succeeds.
check() {
    local text=$1
    shift
    if "$@" > /dev/null 2>&1; then pass "$text"; else fail "$text"; fi
}

# eventually TEXT SECONDS COMMAND...: passes as soon as the command succeeds.
eventually() {
    local text=$1 deadline=$((SECONDS + $2))
    shift 2
    until "$@" > /dev/null 2>&1; do
        if [ $SECONDS -ge $deadline ]; then
            fail "$text"
            return 1
        fi
        sleep 0.1
    done
    pass "$text"
}

# found_no_memory NODE: a routine got none in the middle of its work, which ends the daemon at once, in
# the standard library's words.
found_no_memory() {
    ended_with "$1" 134 && node_run "$1" grep -qF "std::bad_alloc" /run/daemon.out
}

# take_counts LOG: adds the 'N passed, N failed' that a test program closed with.
take_counts() {
    local line
    line=$(grep -E '^[0-9]+ passed, [0-9]+ failed$' "$1" | tail -n 1)
    [ -n "$line" ] || line="0 passed, 1 failed"
    passed=$((passed + ${line%% passed*}))
    line=${line#* passed, }
    failed=$((failed + ${line%% failed}))
}

# new_node NAME: a fresh node with both link addresses on its loopback interface, short intervals
# and a key.
new_node() {
    node_start "$1" "$build_directory" || return 1
    node_run "$1" ip addr add 10.77.1.1/32 dev lo
    node_run "$1" ip addr add 10.77.1.2/32 dev lo
    node_run "$1" tee /var/lib/ha/remote_mond.conf > /dev/null << 'END'
{
    "BASE_INTERVAL_BUSY_FLAG": 1, "BASE_INTERVAL_ACTIVE": 1, "BASE_INTERVAL_PASSIVE": 1,
    "BASE_INTERVAL_LOG_WRITE": 1, "BASE_INTERVAL_LOG_ROTATE": 1, "BASE_INTERVAL_RECORD_ENV": 1,
    "NUM_OF_REST_NETWORK": 0, "NUM_OF_REST_MON_PKT_DROP": 0, "NUM_OF_REST_MON_HB_LATENCY": 0
}
END
    node_run "$1" bash -c 'umask 077; head -c 32 /dev/urandom > /var/lib/ha/peer.key'
}

# end_node NAME: kills the node with all that runs in it.
end_node() {
    kill -KILL "$(node_inner "$1")" "${node_pid[$1]}" 2> /dev/null
    wait "${node_pid[$1]}" 2> /dev/null
    unset "node_pid[$1]"
}

# listen_to_system_log NODE: whatever the node's programs tell the system log goes to /run/system-log.
listen_to_system_log() {
    node_run "$1" setsid /usr/bin/python3 -c '
import socket
log = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
log.bind("/dev/log")
with open("/run/system-log", "ab", buffering=0) as file:
    while True:
        file.write(log.recv(8192) + b"\n")' < /dev/null > /dev/null 2>&1 &
    until node_run "$1" test -e /run/system-log; do sleep 0.05; done
}

# start_daemon NODE [WRAPPER...]: the daemon, started by way of WRAPPER. Its exit status (128 + N
# when signal N ended it) will be in /run/exit.
start_daemon() {
    local node=$1
    shift
    node_run "$node" rm -f /run/exit
    # shellcheck disable=SC2016 # expanded inside the node
    node_run "$node" env daemon_at="${daemon_at:-$bin/koraharemotemond}" setsid bash -c '
        "$@" "$daemon_at" 10.77.1.1 10.77.1.2 lo \
            < /dev/null > /run/daemon.out 2>&1
        echo $? > /run/exit' daemon "$@" < /dev/null > /dev/null 2>&1 &
}

daemon_pid() { node_run "$1" pgrep -x koraharemotemon; }
has_ended() { node_run "$1" test -s /run/exit; }
ended_with() { [ "$(node_run "$1" cat /run/exit 2> /dev/null)" = "$2" ]; }

# answers NODE: prints the status; fails only when there is none.
answers() {
    local status=0
    node_run "$1" "$bin/korahamonctl" status --json || status=$?
    [ $status -le 1 ]
}
told() { node_run "$1" grep -qF -- "$2" /run/system-log; }

# stop_daemon NODE: and waits for its end.
stop_daemon() {
    local pid
    pid=$(daemon_pid "$1") && node_run "$1" kill -KILL "$pid"
    until has_ended "$1"; do sleep 0.05; done
}

says() { node_run "$1" grep -qF -- "$2" "$log"; }
