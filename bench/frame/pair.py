# SPDX-License-Identifier: Apache-2.0
"""Two nodes with a cable and a key between them, and the daemon in one or both."""

import contextlib

from harness import copy_key, eventually, joined_nodes



@contextlib.contextmanager
def pair(machine):
    with joined_nodes(machine.build) as (node1, node2):
        copy_key(node1, node2)
        yield node1, node2


@contextlib.contextmanager
def live_pair(machine):
    """The daemon in both nodes, each with its first passes behind it."""
    with pair(machine) as (node1, node2):
        daemons = [node.daemon(settings={}) for node in (node1, node2)]
        for daemon in daemons:
            await_peer(daemon)
        yield node1, node2, *daemons


def await_peer(daemon):
    """Until the peer is known to live, and has told its state."""

    def knows():
        status = daemon.status()
        return status and status["remoteAlive"] and status["readings"]["remoteMDResync"]["valid"]

    eventually("the daemon knows its peer", knows)
