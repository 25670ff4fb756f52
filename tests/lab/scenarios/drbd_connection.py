"""drbdConnected follows two resources through disconnects, a cut cable and a missing module."""

QUICK = False


def connected(wanted):
    return lambda status: status.get("drbdConnected") is wanted


def run(pair):
    first, second = pair
    pair.start_daemons()
    for node in pair:
        node.until(connected(False), "no DRBD module: not connected")

    pair.drbd_up("r0", "r1")
    for node in pair:
        took = node.until(connected(True), "both resources connected")
        pair.note(f"node{node.number}: connected seen after {took:.1f} s")

    first.run("drbdadm disconnect r0")
    first.run("for i in 1 2 3; do sleep 1; done")
    first.until(connected(True), "one resource of two is still connected")

    first.run("drbdadm disconnect r1")
    took = first.until(connected(False), "both resources disconnected")
    pair.note(f"disconnected seen after {took:.1f} s")

    first.run("drbdadm connect r0; drbdadm connect r1")
    first.until(connected(True), "connected again")

    first.set_link(False)
    took = second.until(connected(False), "cable cut: DRBD misses the peer", 60)
    pair.note(f"cut cable seen after {took:.1f} s (DRBD itself waits 3.5 s)")
    first.set_link(True)
    second.until(connected(True), "cable back", 60)

    first.run("iptables -V >/dev/null 2>&1; echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all")
    second.until(lambda s: s.get("remoteAlive") is False, "echoes unanswered")
    assert "Delete flag" not in second.log().split("Create flag")[-1]
    second.until(connected(True), "DRBD stays connected while ICMP is ignored")
    if second.run("test -e /tmp/ha/ha_remote_busy && echo raised", check=False) != "raised":
        raise AssertionError("the busy flag must stay up while DRBD is connected")
