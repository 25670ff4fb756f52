#pragma once

#include <json/value.h>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

// Questions to the peer: each object is made for one call. They need the addresses that localIP,
// remoteIP and drbdIF set, and answer negatively when the peer cannot be asked.

/// True when the peer answers an ICMP echo. Blocks for at most 1 second.
class KORAHA_EXPORT IsRemoteAlive {
  public:
    IsRemoteAlive();
    virtual ~IsRemoteAlive();
    virtual bool operator()();
};

/// True while the peer says that it resynchronises an md device. Blocks for at most 1 second.
class KORAHA_EXPORT IsRemoteMDResync {
  public:
    IsRemoteMDResync();
    virtual ~IsRemoteMDResync();
    virtual bool operator()();
};

/// True while the peer says that it handles disk errors; `disks` becomes the array of their names,
/// an empty one when the peer cannot be asked. Blocks for at most 1 second; uses the exchange of
/// IsRemoteMDResync, once, if that is at most 2 seconds old.
class KORAHA_EXPORT IsRemoteDiskErrHandling {
  public:
    IsRemoteDiskErrHandling();
    virtual ~IsRemoteDiskErrHandling();
    virtual bool operator()(Json::Value& disks);
};

}  // namespace KORA::HA::Daemon
