# SPDX-License-Identifier: Apache-2.0
"""The key is rolled over and a daemon replaced in place: the other side notes no false loss."""

LOST = "not all(s['readings'][name]['valid'] for name in ('remoteMDResync', 'remoteDiskErrHandling'))"


def talks(status):
    return status["readings"]["remoteMDResync"]["valid"] is True


def talking(pair, step):
    """The exchange goes on, for some passes, in both directions."""
    for _ in range(4):
        for node in pair:
            status = node.status()
            assert talks(status), (step, node.number, status["readings"]["remoteMDResync"])
        pair.nodes[0].run("sleep 0.7")


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(talks, "the pair talks")
    lost = [node.awaiting(LOST) for node in pair]
    old = first.ctl("peer-key show-fingerprint", check=True)

    first.ctl("peer-key new --next", check=True)
    talking(pair, "made on one node")
    packed = first.run("base64 -w 0 /var/lib/ha/peer.key.next")
    second.run("umask 077; echo " + packed + " | base64 -d > /var/lib/ha/peer.key.next.new;"
               "mv /var/lib/ha/peer.key.next.new /var/lib/ha/peer.key.next")
    talking(pair, "on both nodes")
    first.ctl("peer-key new --commit", check=True)
    talking(pair, "committed on one node")
    second.ctl("peer-key new --commit", check=True)
    talking(pair, "committed on both nodes")
    for each in lost:
        each.check_not_yet()
    new = [node.ctl("peer-key show-fingerprint", check=True).split()[0] for node in pair]
    assert new[0] == new[1] != old.split()[0], (old, new)
    pair.note(f"key {old.split()[0]} became {new[0]}, no reading was invalid in between")

    first.run("kill -KILL $(cat /run/daemon.pid)")
    first.start_daemon()
    took = first.until(talks, "the new daemon talks")
    second.until(lambda s: talks(s) and (s["readings"]["remoteMDResync"]["ageSeconds"] or 9) < 2,
                 "and is talked to")
    pair.note(f"daemon replaced: talks again after {took:.1f} s")
    assert second.status()["remoteAlive"] is True
    assert "Delete flag" not in second.log(), second.log()
