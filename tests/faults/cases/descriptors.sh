# SPDX-License-Identifier: Apache-2.0
# No more descriptors: from the start, and while the daemon runs.
# shellcheck shell=bash disable=SC2154,SC2016

lives() { [ -n "$(daemon_pid "$1")" ] && ! has_ended "$1"; }
descriptors_of() { node_run "$1" ls "/proc/$(daemon_pid "$1")/fd" | wc -l; }
limit_descriptors() { node_run "$1" prlimit --pid "$(daemon_pid "$1")" --nofile="$2:"; }

# From the start: 3 are open then, and the dynamic linker needs one more.
limits=(4 5 6 7 8 9 10 12 14 16)
for limit in "${limits[@]}"; do
    new_node "few$limit"
    start_daemon "few$limit" prlimit --nofile="$limit"
done
sleep 15 # all routines have had their turns
for limit in "${limits[@]}"; do
    node=few$limit
    if lives "$node"; then
        pass "with $limit descriptors it goes on"
    elif ended_with "$node" 1; then # what it said may have found no descriptor either
        pass "with $limit descriptors it ends with 1"
    else
        fail "with $limit descriptors: exit $(node_run "$node" cat /run/exit)"
    fi
    end_node "$node"
done

# While it runs: values turn invalid and say why, none turns false; then all comes back.
values() {
    answers "$1" | /usr/bin/python3 -c '
import json, sys
status = json.load(sys.stdin)
for name in ("remoteAlive", "localMDResync", "localDiskErrHandling", "netNonOkRate"):
    reading = status["readings"][name]
    print(name, reading["valid"], reading["reason"])'
}
all_valid() { ! values "$1" | grep -q " False " && [ "$(values "$1" | wc -l)" = 4 ]; }
logged_lines() { node_run "$1" cat "$log" /var/log/ha/ha.daemon.record | wc -l; }

new_node none
start_daemon none
eventually "it measures everything" 60 all_valid none
eventually "and writes its log" 30 says none ":87 Create flag: "

# A client that came before is still served, and sees what the others do not.
coproc client { node_run none /usr/bin/python3 -c '
import json, socket, sys
server = socket.socket(socket.AF_UNIX)
server.connect("/tmp/.ha_daemon.socket")
stream = server.makefile("rw")
for _ in sys.stdin:
    stream.write("{\"request\":\"status\"}\n")
    stream.flush()
    status = json.loads(stream.readline())
    names = ("remoteAlive", "localMDResync", "localDiskErrHandling", "netNonOkRate")
    readings = [status["readings"][name] for name in names]
    print("unknown" if all(not r["valid"] and "open files" in r["reason"] for r in readings)
          else [r["reason"] for r in readings], flush=True)'; }
ask_early_client() {
    local reply
    echo >&"${client[1]}" && read -r -t 5 reply <&"${client[0]}" || return 1
    [ "$reply" = unknown ]
}
if ask_early_client; then fail "a client came before"; else pass "a client came before"; fi
open_before=$(descriptors_of none)
limit_descriptors none 3
eventually "every value turns unknown and says why" 60 ask_early_client
sleep 3
check "it lives" lives none
lines=$(logged_lines none)
limit_descriptors none 1024
eventually "with descriptors again it measures everything" 60 all_valid none
more_lines() { [ "$(logged_lines none)" -gt "$lines" ]; }
eventually "and writes its log" 30 more_lines
eval "exec ${client[1]}>&-"
no_leak() { [ "$(descriptors_of none)" -le "$open_before" ]; }
eventually "no descriptor was left open" 30 no_leak
end_node none
