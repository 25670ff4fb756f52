#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Status sockets of simulated nodes, as their daemons would serve them.

    simulator.py DIRECTORY NODE...     serves DIRECTORY/NODE.sock for each node, until it is killed

What DIRECTORY/NODE.json holds (an object) replaces members of that node's status, from the next
request on; {"hang": true} lets the node answer no more.
"""
import asyncio
import json
import os
import random
import sys
import time

READINGS = ("remoteAlive", "drbdConnected", "remoteMDResync", "remoteDiskErrHandling",
            "localMDResync", "localDiskErrHandling", "netNonOkRate", "hbLatency")
STARTED = time.monotonic()


def status(node):
    """The status of a node in good health; the first of each pair is the active one."""
    age = random.uniform(0, 5)
    return {
        "version": 1, "remoteAlive": True, "drbdConnected": True, "remoteMDResync": False,
        "remoteDiskErrHandling": False, "localMDResync": False, "localDiskErrHandling": False,
        "netNonOkRate": 0.0, "hbLatency": random.uniform(0.2, 0.4),
        "errHandlingDisks": [], "errHandlingDisksRemote": [], "active": node.endswith("a"),
        "ageSeconds": {reading: age for reading in READINGS},
        "readings": {reading: {"valid": True, "reason": "", "ageSeconds": age,
                               "attemptAgeSeconds": age} for reading in READINGS},
        "constraints": [], "degradedArrays": [], "lastRestart": None, "pid": 4242,
        "uptimeSeconds": time.monotonic() - STARTED, "softwareVersion": "1.0.0",
    }


def history():
    """An hour of heartbeats, one of them with a lost echo."""
    now = time.time()
    samples = [{"at": now - 3600 + 20 * i, "kind": "hbLatency", "value": random.uniform(0.2, 0.4),
                "sent": 5, "answered": 4 if i == 90 else 5} for i in range(180)]
    return {"version": 1, "samples": samples, "events": []}


def replacements(directory, node):
    try:
        with open(os.path.join(directory, node + ".json"), encoding="utf-8") as file:
            return json.load(file)
    except FileNotFoundError:
        return {}


async def serve(directory, node):
    async def client(reader, writer):
        while line := await reader.readline():
            changed = replacements(directory, node)
            if changed.pop("hang", False):
                await asyncio.sleep(3600)
            asked = json.loads(line).get("request")
            reply = history() if asked == "history" else {**status(node), **changed}
            writer.write(json.dumps(reply).encode() + b"\n")
            await writer.drain()
        writer.close()

    await asyncio.start_unix_server(client, os.path.join(directory, node + ".sock"))


async def main(directory, nodes):
    for node in nodes:
        await serve(directory, node)
    print("ready", flush=True)
    await asyncio.Event().wait()


if __name__ == "__main__":
    asyncio.run(main(sys.argv[1], sys.argv[2:]))
