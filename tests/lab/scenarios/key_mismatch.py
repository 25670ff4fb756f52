# SPDX-License-Identifier: Apache-2.0
"""Another key on one side: nothing is believed and nothing obeyed; the same key: all is well again."""


def run(pair):
    first, second = pair
    pair.start_daemons()
    talks = lambda s: s["readings"]["remoteMDResync"]["valid"] is True  # noqa: E731
    second.until(talks, "one key: the peer's state is believed")
    first.run("cp /var/lib/ha/peer.key /var/lib/ha/good.key; chmod 600 /var/lib/ha/good.key;"
              "umask 077; head -c 32 /dev/urandom > /var/lib/ha/peer.key")
    second.until(lambda s: not talks(s), "another key: invalid")
    pair.note("reason: " + second.status()["readings"]["remoteMDResync"]["reason"])
    first.run("cp /var/lib/ha/good.key /var/lib/ha/peer.key")
    second.until(talks, "the same key again")
