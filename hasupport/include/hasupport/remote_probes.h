// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include "hasupport/export.h"

namespace KORA::HA::Daemon {

// Questions to the peer: each object is made for one call and holds nothing; any thread. They need
// the addresses that localIP, remoteIP and drbdIF set, answer negatively when the peer cannot be
// asked (which the readings of the status reply tell from a true no), and never throw.

/// True when the peer answers an ICMP (ICMPv6) echo: one of three, sent from the local address over
/// the interface. Blocks for at most 1 second; after a restart of the peer was asked for, the call
/// that first sees it gone, or back, also writes that to a small file.
class KORAHA_EXPORT IsRemoteAlive {
  public:
    IsRemoteAlive();
    virtual ~IsRemoteAlive();
    virtual bool operator()();
};

/// True while the peer says that it resynchronises an md device: one exchange with its service
/// (docs/protocol.md), authenticated where this node holds a key. Blocks for at most 1 second.
class KORAHA_EXPORT IsRemoteMDResync {
  public:
    IsRemoteMDResync();
    virtual ~IsRemoteMDResync();
    virtual bool operator()();
};

/// True while the peer says that it handles disk errors; `disks` (the caller's) becomes the array
/// of their names, strings only, an empty one when the peer cannot be asked, null where there is no
/// memory. Blocks for at most 1 second; uses the exchange of IsRemoteMDResync, once, if that is at
/// most 2 seconds old.
class KORAHA_EXPORT IsRemoteDiskErrHandling {
  public:
    IsRemoteDiskErrHandling();
    virtual ~IsRemoteDiskErrHandling();
    virtual bool operator()(Json::Value& disks);
};

}  // namespace KORA::HA::Daemon
