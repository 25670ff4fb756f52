# SPDX-License-Identifier: Apache-2.0
"""Another key on one side: nothing is believed and nothing obeyed; the same key: all is well again."""

REFUSED = "the peer refused: no key that both nodes hold"

# Each is put in place whole: half a key is none, and says so in another way.
ANOTHER_KEY = """
cd /var/lib/ha; umask 077
cp -p peer.key good.key; head -c 32 /dev/urandom > another.key; mv another.key peer.key
"""
SAME_KEY = "cd /var/lib/ha; mv good.key peer.key"


def talks(status):
    return status["readings"]["remoteMDResync"]["valid"] is True


def refused(status):
    return not talks(status) and status["readings"]["remoteMDResync"]["reason"] == REFUSED


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until(talks, "one key: the peer's state is believed")
    first.run(ANOTHER_KEY)
    second.until(refused, "another key: invalid, with the reason")
    pair.note("reason: " + REFUSED)
    first.run(SAME_KEY)
    second.until(talks, "the same key again")
