# SPDX-License-Identifier: Apache-2.0
"""A peer that speaks another frame version, as during an upgrade: invalid with its reason, no false loss."""

# Says what the service of a daemon of frame version 0 would: its hellos, and its answer to ours.
OTHER_VERSION = """
import socket, sys
own, peer, port = sys.argv[1], sys.argv[2], 8909
hello, challenge = (b"KH\\0" + bytes([kind]) + (40).to_bytes(4, "big") + bytes(40) for kind in (1, 2))

def tcp():
    made = socket.socket()
    made.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    made.setsockopt(socket.IPPROTO_IP, socket.IP_TTL, 255)
    made.settimeout(1)
    return made

door = tcp()
door.bind((own, port))
door.listen()
while True:
    try:
        client, _ = door.accept()
        client.settimeout(1)
        client.recv(100)
        client.sendall(challenge)
        client.close()
        asking = tcp()
        asking.connect((peer, port))
        asking.sendall(hello)
        open("/run/refusals", "ab").write(asking.recv(1000)[8:] + b"\\n")
        asking.close()
    except OSError as problem:
        print(problem, flush=True)
"""


def talks(status):
    return status["readings"]["remoteMDResync"]["valid"] is True


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(talks, "the pair talks")

    second.put("/run/other-version", OTHER_VERSION)
    second.run("kill -KILL $(cat /run/daemon.pid); sleep 1;"
               f"setsid python3 /run/other-version {second.address} {first.address} "
               "</dev/null >/run/other-version.out 2>&1 & echo $! > /run/daemon.pid")
    reason = lambda s: s["readings"]["remoteMDResync"]["reason"] or ""  # noqa: E731
    first.until(lambda s: "unknown frame version" in reason(s), "another version: invalid", 60)
    second.run("until [ $(grep -c 'unknown frame version' /run/refusals) -ge 3 ]; do sleep 0.2; done")
    status = first.status()
    assert not talks(status) and status["remoteAlive"] is True, status
    pair.note("reason: " + reason(status) + "; the other version was refused with: "
              + second.run("tail -n 1 /run/refusals").strip())

    second.run("kill -KILL $(cat /run/daemon.pid)")
    second.start_daemon()
    for node in pair:
        node.until(talks, "the same version again", 60)
    assert "Delete flag" not in first.log(), first.log()
