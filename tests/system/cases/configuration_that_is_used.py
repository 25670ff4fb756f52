# SPDX-License-Identifier: Apache-2.0
"""Whatever parses is used: other top levels and unreadable files mean defaults, strings that spell
numbers are numbers, and strings that spell none mean the default."""

import json

from harness import CONFIGURATION, SHORT_INTERVALS, eventually, expect, joined_nodes

LOADED = "int_daemon_conf:95 Load configure from file: /var/lib/ha/remote_mond.conf"
MISSING = "int_daemon_conf:91 Daemon configure file not exist"
UNREADABLE = ["setpriv", "--bounding-set", "-dac_override,-dac_read_search"]
UNREADABLE += ["--inh-caps", "-dac_override,-dac_read_search"]


def runs_saying(node, first_line, through=()):
    """With the default pace, the first lines go to the disk at once, the next ones much later."""
    daemon = node.daemon(through=through).serves()
    eventually(f"the first line is {first_line}", lambda: daemon.log()[:1] == [first_line])
    daemon.signal(15)
    daemon.ended()
    expect(not daemon.output(), "nothing is written to the standard streams")
    node.forget_logs()


def takes_strings(node):
    settings = {key: f" {value:+d} " for key, value in SHORT_INTERVALS.items()}
    settings["THR_OF_HB_LATENCY"] = " 0.0 "
    settings["TOLERANCE_TIMES_OF_HB_LATENCY"] = "0"
    settings["THR_OF_HB_PKT_DROP"] = "none at all"
    settings["TOLERANCE_TIMES_OF_PKT_DROP"] = "0"
    settings["THR_OF_RDISK_ERRHANDLE"] = "99999999999999999999"
    node.write(CONFIGURATION, json.dumps(settings))
    daemon = node.daemon().serves()
    slow = "koraharemotemond:331 [Latency Fail] Heartbeat too slow: "
    eventually("a latency over 0.0 is too much", lambda: any(slow in x for x in daemon.log()))
    expect(not any("[Packet Fail]" in line for line in daemon.log()), "no packet loss is seen")


def case(build):
    with joined_nodes(build) as (node1, _):
        for text in ("[1, 2]", "12", '"text"', "null", "{}", "// nothing\n{}"):
            node1.write(CONFIGURATION, text)
            runs_saying(node1, LOADED)
        node1.remove(CONFIGURATION)
        runs_saying(node1, MISSING)
        node1.write(CONFIGURATION, "{ broken", mode=0)
        runs_saying(node1, MISSING, UNREADABLE)
        takes_strings(node1)
