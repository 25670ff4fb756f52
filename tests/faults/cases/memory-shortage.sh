# SPDX-License-Identifier: Apache-2.0
# No more memory to be had, from the point where the daemon only just starts: the same calls fail as
# when locked memory is at its limit. It ends in order, or goes on with what it has; a routine that
# gets no memory in the middle of its work ends the process at once, with the standard library's
# words. Nothing else may happen.
# shellcheck shell=bash disable=SC2154,SC2016

new_node plenty
start_daemon plenty
eventually "with plenty of memory it answers" 60 answers plenty
whole=$(node_run plenty awk '/^VmPeak/ { print $2 }' "/proc/$(daemon_pid plenty)/status")
end_node plenty

ends_in_order() { ended_with "$1" 1 && says "$1" ":566 Failed to do "; }
lives() { [ -n "$(daemon_pid "$1")" ] && ! has_ended "$1"; }

shortages=(700 600 500 400 300 250 200 150 100 50)
for short in "${shortages[@]}"; do
    new_node "short$short"
    start_daemon "short$short" prlimit --as=$(((whole - short) * 1024))
done
sleep 15 # all routines have had their turns
for short in "${shortages[@]}"; do
    node=short$short
    if lives "$node"; then
        pass "with $short of $whole KiB missing it goes on"
    elif ends_in_order "$node"; then
        pass "with $short of $whole KiB missing it ends in order"
    elif found_no_memory "$node"; then
        pass "with $short of $whole KiB missing a routine finds none and ends it"
    else
        fail "with $short of $whole KiB missing: exit $(node_run "$node" cat /run/exit)"
    fi
    end_node "$node"
done
