// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "hasupport/export.h"
#include "hasupport/status.h"

/// The library's two further doors: a local one with the same requests as the status socket, and
/// the one on the replication link through which the peer asks for this node's state or for its
/// restart. Stateless; what is open between two calls belongs to the library.
class KORAHA_EXPORT SocketServer {
  public:
    SocketServer();
    ~SocketServer();

    /// One bounded serving step, at most 5 seconds when nobody asks; `status` is what it answers
    /// with. The local door is /run/koraha/server.sock, the peer's TCP port 8909 on the local
    /// replication address (docs/protocol.md for both). False would mean that serving can never
    /// work again, which no failure does: a missing interface, a taken port or a lack of
    /// descriptors is said once and tried again in a later step. One thread; never throws. A
    /// restart that the peer asks for is carried out within the step, which then takes as long as
    /// the disks of its stamp and of the daemon log do.
    bool operator()(KORA::HA::Daemon::Status& status);
};
