#pragma once

#include <json/value.h>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

/// Round-trip time to the peer in milliseconds: the median of five echoes; when fewer than three
/// were answered, the time really waited. Blocks for at most 1.5 seconds.
KORAHA_EXPORT float heartbeatLatency();

/// True when a DRBD resource has an established connection to the peer (/proc/drbd, or
/// `drbdsetup events2` where that lists nothing). No DRBD: false.
KORAHA_EXPORT bool isDRBDConnect();

/// True while an md array of this node resynchronises, recovers, reshapes, or waits to
/// (/sys/block/md*/md, else /proc/mdstat). Checks and repairs are none of these.
KORAHA_EXPORT bool isMDResync();

/// True when a disk of this node was under error handling since the last call; `disks` is replaced
/// by the array of their names. Reads sysfs only and returns promptly.
KORAHA_EXPORT bool isDiskErrHandling(Json::Value& disks);

/// True when something on this node forbids restarting the peer; the reasons go to the system log,
/// once per change. Reads files only (on DRBD 9 it runs drbdsetup, with a deadline).
KORAHA_EXPORT bool isHadConstraints();

}  // namespace KORA::HA::Daemon
