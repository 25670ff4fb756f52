# SPDX-License-Identifier: Apache-2.0
# Every operation of the library with each of its system calls failing.
# shellcheck shell=bash disable=SC2154

# What the libraries import and what is neither failed here nor a mere computation.
uncovered_calls() {
    local harmless='^(_.*|mem.*|str.*|.*printf|malloc|calloc|realloc|free|mallopt|abort|getenv|environ|'
    harmless+='program_invocation_name|'
    harmless+='gmtime_r|sysconf|time|clock_gettime|pthread_(mutex|cond|rwlock|once)_.*|pthread_self|'
    harmless+='sig(empty|fill)set|inet_pton|inet_ntop|[hn]to[hn][sl]|getp?e?[ug]?id|if_nametoindex|'
    harmless+='freeifaddrs|syslog|posix_spawn(_file_actions|attr)_destroy|sched_yield)$'
    nm -D --undefined-only "$build_directory"/lib/lib{korahadaemon,koracore}.so |
        awk '$2 ~ /@GLIBC_/ { sub(/@.*/, "", $2); print $2 }' | sort -u | grep -vE "$harmless" |
        grep -vxFf <("$build_directory/bin/fault_driver" --calls)
}

new_node calls
node_run calls tee /run/drbdsetup > /dev/null << 'END'
#!/bin/sh
cat /mnt/build/tests/data/written/drbd9-events2-connected
END
node_run calls chmod 755 /run/drbdsetup
if uncovered=$(uncovered_calls); then
    fail "calls of the libraries that no test fails: $uncovered"
else
    pass "every system call that the libraries import is among the failed ones"
fi
driver_log=$(mktemp)
node_run calls timeout 1500 "$bin/fault_driver" /mnt/build/tests/data > "$driver_log" 2>&1
grep -vE '^[0-9]+ passed' "$driver_log"
take_counts "$driver_log"
rm -f "$driver_log"
end_node calls
