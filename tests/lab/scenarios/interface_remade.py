"""The replication interface is removed, made anew, renamed: probes and peer service come back."""


def run(pair):
    first, second = pair
    second.run("modprobe veth; modprobe bridge; ip link add br0 type bridge; ip addr flush dev eth0;"
               "ip link set eth0 master br0; ip link set br0 up")
    make = ("ip link add hb0 type veth peer name hb1; ip link set hb1 master br0;"
            "ip link set hb1 up; ip link set hb0 up; ip addr add 10.77.0.2/24 dev hb0")
    second.run(make)
    for node in pair:
        node.configure()
    first.start_daemon()
    second.start_daemon(interface="hb0")
    good = (lambda s: s.get("remoteAlive") is True
            and s.get("readings", {}).get("remoteMDResync", {}).get("valid") is True)
    for node in pair:
        node.until(good, "alive and the peer service answers", 60)
    second.run("ip link del hb0")
    for node in pair:
        node.until(lambda s: s.get("remoteAlive") is False, "the interface is gone")
    second.run(make)
    for node in pair:
        took = node.until(good, "alive, and the peer service answers again", 60)
        pair.timed(f"node{node.number}: made anew, all back", took, 1 + 1 + 1 + 1)
    second.run("ip link set hb0 down; ip link set hb0 name hb9; ip link set hb9 up")
    second.until(lambda s: s.get("remoteAlive") is False, "no interface of that name any more")
    first.until(lambda s: s["readings"]["remoteMDResync"]["valid"] is False,
                "its kernel answers under any name, its peer service does not")
    second.run("ip link set hb9 down; ip link set hb9 name hb0; ip link set hb0 up")
    for node in pair:
        took = node.until(good, "alive, and the peer service answers under the old name", 60)
        pair.timed(f"node{node.number}: renamed there and back, all back", took, 1 + 1 + 1 + 1)
