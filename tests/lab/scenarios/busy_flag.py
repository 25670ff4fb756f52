"""The peer is reset: its flag is lowered after two samples and raised when it is back."""

QUICK = True

FLAG = "koraharemotemond:{} {} flag: /tmp/ha/ha_remote_busy"


def run(pair):
    first, second = pair
    pair.start_daemons()
    second.until_log(FLAG.format(87, "Create"))
    first.reset()
    took = second.until_log(FLAG.format(94, "Delete"), 30)
    pair.note(f"flag lowered {took:.1f} s after the reset (two samples of 1 s and their probes)")
    first.wait_boot(60)
    took = second.until_log(FLAG.format(87, "Create"), 30, count=2)
    pair.note(f"flag raised {took:.1f} s after the peer's node script ran")
