# SPDX-License-Identifier: Apache-2.0
"""Under systemd the peer's request restarts the node in order, and by force where systemd cannot."""

from lib import disks
from lib.system import LOG, UNIT

SYSTEM = True
ORDERLY = "/var/lib/stopped-in-order"  # made when the services are stopped
REASON = "restarting at the peer's request: too many errors on one disk; under error handling: sda"


def outcome(status):
    return (status.get("lastRestart") or {}).get("outcome", "requested")


def have_it_asked(first, second, count=1):
    disks.make(first)
    disks.keep_hanging(first)
    second.until_log("koraharemotemond:416 ", 180, count)
    second.until(lambda s: outcome(s) not in ("requested", "back"), "the request is over", 60)


def check_return(pair, before, way):
    first, second = pair
    assert first.wait_boot(pair.boot_seconds) != before, "the boot id must change"
    second.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is True, "its daemon answers", 180)
    assert first.run(f"cat {LOG}*").count(REASON) == 1, first.run(f"cat {LOG}*")
    if outcome(second.status()) in ("accepted", "left", "back"):
        second.until(lambda s: outcome(s) == "back", "noted as back", 60)
        record = second.status()["lastRestart"]
        pair.note(f"{way}: left {record['leftAt'] - record['at']:.0f} s after the request, "
                  f"back after {record['backAt'] - record['at']:.0f} s")
    else:  # on a starved machine the answer takes more than the second that there is for it
        pair.note(f"{way}: obeyed; the request: " + outcome(second.status()))


def run(pair):
    first, second = pair
    pair.set_up({"THR_OF_RDISK_ERRHANDLE": 2}, {"drbd": False})
    second.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is True, "the pair talks", 180)
    before = first.boot_id
    have_it_asked(first, second)
    check_return(pair, before, "in order")
    first.run(f"test -e {ORDERLY}")

    # The service manager refuses to restart, the daemon ends, and everybody has forgotten the first time.
    second.run("rm /var/lib/ha/restart.asked")
    first.run(f"rm {ORDERLY} /var/lib/ha/restart.obeyed {LOG}*; systemctl mask --runtime reboot.target")
    before = first.boot_id
    have_it_asked(first, second, 2)
    first.send(f"systemctl kill --signal KILL {UNIT}; systemctl stop {UNIT}")
    check_return(pair, before, "by force")
    first.run(f"test ! -e {ORDERLY}")
