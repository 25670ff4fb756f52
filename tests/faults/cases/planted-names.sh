# SPDX-License-Identifier: Apache-2.0
# What an ordinary user plants in /tmp under the daemon's names before the daemon starts as root.
# With /tmp/ha made by root, as documented, nothing of root's is overwritten, removed or disclosed;
# what happens without it is shown, too. See docs/security.md.
# shellcheck shell=bash disable=SC2154,SC2016

socket=/tmp/.ha_daemon.socket
secrets=/var/lib/secrets

as_user() {
    local node=$1
    shift
    node_run "$node" setpriv --reuid=65534 --regid=65534 --clear-groups "$@"
}

# listen_as NODE WHO: a process of WHO (user, root) that listens on the status socket's path.
listen_as() {
    local through=node_run path=${3:-$socket}
    [ "$2" = root ] || through=as_user
    $through "$1" setsid /usr/bin/python3 -c '
import os, socket, sys, time
os.umask(0o022)
server = socket.socket(socket.AF_UNIX)
server.bind(sys.argv[1])
server.listen()
time.sleep(600)' "$path" < /dev/null > /dev/null 2>&1 &
    until node_run "$1" test -S "$path"; do sleep 0.05; done
}

# Everything of root's that a planted name may point to: contents, modes, owners, names.
fingerprint() {
    node_run "$1" bash -c "cd $secrets && ls -lnR --time-style=full-iso . && cat file"
}

planted_node() {
    new_node "$1"
    listen_to_system_log "$1"
    node_run "$1" bash -c "
        mkdir -p $secrets/directory && echo secret > $secrets/file && chmod 600 $secrets/file
        chmod 711 $secrets"
    before[$1]=$(fingerprint "$1")
}
declare -A before=()

unharmed() {
    if [ "$(fingerprint "$1")" = "${before[$1]}" ]; then
        pass "$2: nothing of root's has changed"
    else
        fail "$2: something of root's has changed: $(fingerprint "$1")"
    fi
}

# refuses NODE TEXT: the daemon will not use what stands at its socket's path, leaves it, and ends.
refuses() {
    local there
    there=$(node_run "$1" ls -ldn --time-style=full-iso $socket)
    start_daemon "$1"
    eventually "$2: it ends with 1 instead of using it" 60 ended_with "$1" 1
    check "$2: it says why" says "$1" ":299 Failed to bind socket"
    if [ "$(node_run "$1" ls -ldn --time-style=full-iso $socket)" = "$there" ]; then
        pass "$2: it is left as it was"
    else
        fail "$2: it was touched"
    fi
    unharmed "$1" "$2"
    end_node "$1"
}

# What the user gets who tries the status socket.
as_a_client() {
    as_user "$1" /usr/bin/python3 -c '
import socket, sys
try:
    socket.socket(socket.AF_UNIX).connect(sys.argv[1])
    print("served")
except PermissionError:
    print("denied")' $socket
}

# The daemon is started by way of this.
through=()

# serves NODE TEXT: the daemon makes its own socket, which the user cannot talk to.
serves() {
    start_daemon "$1" "${through[@]}"
    eventually "$2: it makes its own socket and serves" 60 answers "$1"
    check "$2: the socket is root's, and closed to others" \
        node_run "$1" bash -c "[ \"\$(stat -c '%u %a' $socket)\" = '0 660' ]"
    if [ "$(as_a_client "$1")" = denied ]; then
        pass "$2: the user is not served"
    else
        fail "$2: the user is served"
    fi
    unharmed "$1" "$2"
}

if [ "$(wc -l < /proc/self/uid_map)" != 1 ] || ! grep -q 4294967295 /proc/self/uid_map; then
    say "     skipped: there is no second user in this user namespace"
    return 0
fi

planted_node link
as_user link ln -s $secrets/file $socket
refuses link "a link to a file of root's"

planted_node dangling
as_user dangling ln -s $secrets/new $socket
refuses dangling "a link to where nothing is"

planted_node socketlink
listen_as socketlink root $secrets/socket
before[socketlink]=$(fingerprint socketlink)
as_user socketlink ln -s $secrets/socket $socket
refuses socketlink "a link to a socket of root's"

planted_node file
as_user file bash -c "echo mine > $socket"
refuses file "a file"

planted_node directory
as_user directory mkdir $socket
refuses directory "a directory"

planted_node fifo
as_user fifo mkfifo $socket
refuses fifo "a pipe"

# keeps_the_socket NODE: once it is root's, the user can neither remove nor replace it.
keeps_the_socket() {
    if as_user "$1" rm -f $socket 2> /dev/null || as_user "$1" mv $socket /tmp/x 2> /dev/null; then
        fail "the user can take the socket away"
    else
        pass "the user cannot take the socket away"
    fi
}

# replaces_sockets HOW REPORT: what the user's sockets turn into; the first of them is reported.
replaces_sockets() {
    planted_node listener
    listen_as listener user
    serves listener "a socket that the user listens on$1"
    check "the user's socket is reported$1" told listener "$2"
    keeps_the_socket listener
    end_node listener

    planted_node stale
    as_user stale /usr/bin/python3 -c '
import os, socket, sys
os.umask(0o022)
socket.socket(socket.AF_UNIX).bind(sys.argv[1])' $socket
    serves stale "a socket that nobody listens on$1"
    end_node stale
}
replaces_sockets "" "user 65534 listens there"

# The unit's capabilities let root connect to no socket of mode 0755 that is another's. The limit
# that the unit lifts is not for every test to lift, so no memory is locked.
granted=$(sed -n 's/^CapabilityBoundingSet=//p' packaging/debian/koraharemotemond.service |
    sed 's/CAP_/,+/g; s/ //g; s/.*/\L&/')
through=(prlimit --memlock=0
    setpriv --bounding-set "-all$granted" --inh-caps -all --no-new-privs)
replaces_sockets ", with the unit's capabilities" "a socket of user 65534"
through=()

# The flag's directory is root's: the user gets nothing into it and does not get it away.
planted_node prepared
as_user prepared bash -c "
    ln -s $secrets/new /tmp/ha/ha_remote_busy
    mv /tmp/ha /tmp/away
    rmdir /tmp/ha
    touch /tmp/ha/other" 2> /dev/null
if [ -z "$(node_run prepared ls /tmp/ha)" ] && node_run prepared test -O /tmp/ha; then
    pass "the user gets nothing into /tmp/ha, and cannot move it"
else
    fail "the user got into /tmp/ha"
fi
is_active() { answers "$1" | grep -q '"active": *true'; }
for kind in "ln -s $secrets/file" "ln -s $secrets/new" mkfifo mkdir touch listener; do
    as_user prepared rm -rf /tmp/ha_role_active
    # shellcheck disable=SC2086 # a command and its first argument
    if [ "$kind" = listener ]; then
        listen_as prepared user /tmp/ha_role_active
    else
        as_user prepared $kind /tmp/ha_role_active
    fi
    serves prepared "a role marker made with ${kind%% *}"
    # The marker alone is what is looked at, so whoever makes it speaks for the role; through a link,
    # whether there is something at its end.
    if [ "$kind" = "ln -s $secrets/new" ]; then
        check "a link to nothing is no marker" eval '! is_active prepared'
    else
        eventually "a user's marker counts" 30 is_active prepared
    fi
    eventually "the flag is raised as a file of root's" 30 \
        node_run prepared bash -c '[ "$(stat -c "%u %F" /tmp/ha/ha_remote_busy)" = "0 regular empty file" ]'
    stop_daemon prepared
done
end_node prepared

# Shown, not mended: without root's /tmp/ha the user's own leads the daemon where the user wants.
planted_node unprepared
node_run unprepared rmdir /tmp/ha
as_user unprepared bash -c "mkdir /tmp/ha && ln -s $secrets/new /tmp/ha/ha_remote_busy"
start_daemon unprepared
eventually "without root's /tmp/ha a link of the user's makes a new empty file of root's" 60 \
    node_run unprepared test -f $secrets/new
check "the file is empty" node_run unprepared bash -c "[ ! -s $secrets/new ]"
check "what was there before is unharmed" \
    node_run unprepared bash -c "[ \"\$(cat $secrets/file)\" = secret ]"
end_node unprepared

# The same with a link for the directory, unless the kernel follows no foreign link in /tmp. A file
# of that very name in the directory is lost.
planted_node linked
node_run linked bash -c "rmdir /tmp/ha && echo old > $secrets/directory/ha_remote_busy"
as_user linked ln -s $secrets/directory /tmp/ha
start_daemon linked
eventually "with a link for /tmp/ha it serves" 60 answers linked
flag_is() { [ "$(node_run linked cat $secrets/directory/ha_remote_busy)" = "$1" ]; }
if [ "$(cat /proc/sys/fs/protected_symlinks)" = 1 ]; then
    eventually "the flag has had its turn" 30 says linked ":87 Create flag"
    check "the kernel does not follow it: nothing is lost" flag_is old
else
    eventually "it is followed: an empty file takes the place of that name" 30 flag_is ""
fi
check "everything else is unharmed" node_run linked bash -c "[ \"\$(cat $secrets/file)\" = secret ]"
end_node linked

for kind in "touch" "mkfifo" "listener"; do
    planted_node "instead-$kind"
    node_run "instead-$kind" rmdir /tmp/ha
    if [ "$kind" = listener ]; then
        listen_as "instead-$kind" user /tmp/ha
    else
        as_user "instead-$kind" "$kind" /tmp/ha
    fi
    start_daemon "instead-$kind"
    eventually "with a user's $kind for /tmp/ha it goes on, without the flag" 60 answers "instead-$kind"
    unharmed "instead-$kind" "a user's $kind for /tmp/ha"
    end_node "instead-$kind"
done
