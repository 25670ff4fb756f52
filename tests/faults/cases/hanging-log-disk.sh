# SPDX-License-Identifier: Apache-2.0
# The disk of the log hangs: everything but the log goes on, and nothing is lost.
# shellcheck shell=bash disable=SC2154,SC2016

hang_seconds=10

# age NODE READING: seconds since the last attempt, from the status reply.
age() {
    answers "$1" | /usr/bin/python3 -c '
import json, sys
print(json.load(sys.stdin)["readings"][sys.argv[1]]["attemptAgeSeconds"])' "$2"
}
is_fresh() { age "$1" "$2" | awk '{ exit !($1 < 4) }'; }

new_node disk
node_run disk bash -c 'cat > /run/hanging_disk.py' < tests/faults/hanging_disk.py
node_run disk setsid /usr/bin/python3 /run/hanging_disk.py /var/log/ha /run/hang \
    3<> /dev/fuse < /dev/null > /dev/null 2>&1 &
eventually "the file system is there" 20 node_run disk grep -q fuse.hanging /proc/self/mountinfo
start_daemon disk
eventually "the log is written to it" 30 says disk ":87 Create flag: "

node_run disk touch /run/hang
hung_at=$(node_run disk date -u +%Y-%m-%dT%H:%M:%S)
sleep 2
stale=0
slow=0
for ((second = 0; second < hang_seconds; second++)); do
    before=${EPOCHREALTIME/./}
    answers disk > /dev/null || slow=$((slow + 1))
    [ $((${EPOCHREALTIME/./} - before)) -lt 2000000 ] || slow=$((slow + 1))
    for reading in remoteAlive hbLatency localMDResync localDiskErrHandling netNonOkRate \
        remoteMDResync; do
        is_fresh disk $reading || stale=$((stale + 1))
    done
    sleep 1
done
if [ $slow = 0 ]; then pass "the status is answered at once"; else fail "$slow answers were late"; fi
if [ $stale = 0 ]; then pass "no reading grows old"; else fail "$stale readings were old"; fi

node_run disk "$bin/fault_driver" --restart > /dev/null
eventually "a restart that the peer asks for is carried out" 20 node_run disk test -s /run/restarts

healthy_at=$(node_run disk date -u +%Y-%m-%dT%H:%M:%S)
node_run disk rm /run/hang
eventually "the reason of the restart is in the log then" 30 \
    says disk "restarting at the peer's request: a test"

# The records of the time when nothing could be written: one line of each kind for each record.
records_meanwhile() {
    node_run disk bash -c 'cat /var/log/ha/ha.daemon.record.1 /var/log/ha/ha.daemon.record 2> /dev/null' |
        awk -v from="$hung_at" -v to="$healthy_at" '$1 > from && $1 < to && $2 ~ /^record=(memory|status)/'
}
all_kinds_once() {
    local lines memory status
    lines=$(records_meanwhile)
    memory=$(grep -c record=memory <<< "$lines")
    status=$(grep -c record=status <<< "$lines")
    [ "$memory" -ge 3 ] && [ $((memory - status)) -le 1 ] && [ $((status - memory)) -le 1 ] &&
        [ -z "$(uniq -d <<< "$lines")" ]
}
eventually "every record of that time is on the disk, once" 30 all_kinds_once
if node_run disk grep -q "lines were lost" "$log" /var/log/ha/ha.daemon.record; then
    fail "no line was lost"
else
    pass "no line was lost"
fi
end_node disk
