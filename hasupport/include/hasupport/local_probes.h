// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

// Questions to this node. Each may be called from any thread; none throws: what cannot be found out
// is the negative value, said in the system log once per change, and kept apart from a true one in
// the readings of the status reply.

/// Round-trip time to the peer in milliseconds: the median of five ICMP (ICMPv6) echoes, lost ones
/// counting as infinite; when fewer than three were answered, or the link lets none out, the time
/// really waited. Positive infinity, at once, when nothing can be measured at all: an address or
/// interface name that is none, no right to ICMP sockets, no memory (the status reply shows null).
/// Blocks for at most 1.5 seconds.
KORAHA_EXPORT float heartbeatLatency();

/// True when a DRBD resource has an established connection to the peer, resynchronising included
/// (/proc/drbd; `drbdsetup events2 --now all` where that is DRBD 9's). No DRBD: false. Returns at
/// once; with DRBD 9 it waits for drbdsetup, 2.2 seconds at most.
KORAHA_EXPORT bool isDRBDConnect();

/// True while an md array of this node resynchronises, recovers, reshapes, or waits to
/// (/sys/block/md*/md, else /proc/mdstat). Checks and repairs are none of these; only /proc/mdstat
/// calls a repair a resync, too, and is read only where sysfs cannot be. Touches no disk.
KORAHA_EXPORT bool isMDResync();

/// True when a disk under a DRBD or md volume of this node, or named in hasupport.conf, was under
/// error handling since the last call; `disks` (the caller's) is replaced by the array of their
/// names, an empty one for false, null where there is no memory. Reads sysfs only (SCSI host and
/// device states, I/O counters, NVMe controller states) and returns promptly. The first look has
/// no earlier counters: where a host is in recovery then, its disks with time-outs in the past are
/// taken for those that it works on.
KORAHA_EXPORT bool isDiskErrHandling(Json::Value& disks);

/// True when something on this node forbids restarting the peer, or when that cannot be judged; the
/// reasons go to the system log, once per change. Reads DRBD, md and disk states as the probes
/// above do, the stamp of the last restart asked for and the maintenance marker. Returns promptly;
/// with DRBD 9 it waits for drbdsetup, 2.2 seconds at most.
KORAHA_EXPORT bool isHadConstraints();

}  // namespace KORA::HA::Daemon
