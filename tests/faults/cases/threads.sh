# SPDX-License-Identifier: Apache-2.0
# No thread to be had for one routine after the other: the daemon says whose, ends the others and
# itself, with 1.
# shellcheck shell=bash disable=SC2154,SC2016

routines=(logHandler recordSystemInfo server busyFlagControl nonBlockCheck mayBlockCheck monitorEnv
    daemonDataServer)
no_more_threads=11 # EAGAIN

# The lines of the daemon log from the failure on, without times.
last_words() {
    node_run "$1" sed -n 's/^[^ ]* //; /:462 /,$p' "$log" | grep -E ':(462|566|473|484|493) '
}

for number in "${!routines[@]}"; do
    new_node "thread$number"
    start_daemon "thread$number" env LD_PRELOAD=/mnt/build/lib/libfailing_calls.so \
        "KORAHA_FAIL=pthread_create:$((number + 1)):$no_more_threads"
done
for number in "${!routines[@]}"; do
    name=${routines[number]}
    eventually "without a thread for $name the daemon ends with 1" 90 ended_with "thread$number" 1
    words=$'koraharemotemond:462 Failed to get thread/future\n'
    words+="koraharemotemond:566 Failed to do $name"
    if [ "$(last_words "thread$number")" = "$words" ]; then
        pass "its last words name $name"
    else
        fail "its last words are not about $name: $(last_words "thread$number")"
    fi
    end_node "thread$number"
done
