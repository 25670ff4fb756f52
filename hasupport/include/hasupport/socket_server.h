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

    /// One bounded serving step, at most 5 seconds when nobody asks. Returns false only when
    /// serving can never work again; a missing interface or a taken port is retried for ever.
    bool operator()(KORA::HA::Daemon::Status& status);
};
