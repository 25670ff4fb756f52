"""What forbids a restart: the active role, the maintenance marker, a lost DRBD connection."""

from lib import disks  # noqa: E402

REFUSED = "unable to restart remote active server due to local constraints"


def run(pair):
    first, second = pair
    pair.drbd_up("r0")
    pair.start_daemons(settings={"THR_OF_RDISK_ERRHANDLE": 2})
    second.until(lambda s: s.get("drbdConnected") is True, "connected")
    before = first.boot_id
    first.run(disks.LOAD + disks.VOLUME)

    second.run("touch /tmp/ha_role_active")
    first.send(disks.KEEP_HANGING)
    second.until_log("Remote disk error handling(2): sda", 90)
    second.run("sleep 4")
    assert ":414 " not in second.log() and ":416 " not in second.log(), "the active node says nothing"

    second.run("touch /var/lib/ha/maintenance; rm /tmp/ha_role_active")
    second.until_log(REFUSED, 90)
    pair.note("with the maintenance marker: " + str(second.status()["constraints"]))

    second.run("drbdadm disconnect r0; rm /var/lib/ha/maintenance")
    second.until(lambda s: s.get("constraints"), "no connection is a constraint")
    count = second.log().count(REFUSED)
    second.until_log(REFUSED, 90, count=count + 1)
    pair.note("without the connection: " + str(second.status()["constraints"]))

    first.run("touch /run/stop-hanging")
    assert ":416 " not in second.log(), second.log()
    assert first.run("cat /proc/sys/kernel/random/boot_id").strip() == before
