// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "hasupport/export.h"
#include "hasupport/status.h"

namespace KORA::HA::Daemon {

/// A server on a local stream socket that speaks one JSON object per line each way.
/// Used by one thread. Subclasses say what it answers with.
class KORAHA_EXPORT DaemonLocalSocket {
  public:
    /// Prepares a server on `path` that serves at most `maxClients` connections at once (0 counts
    /// as 1). Makes a socket and no file; whether that went well tells `hasError`.
    DaemonLocalSocket(std::string path, unsigned int maxClients);
    /// Closes the socket and removes its file if it is still the one that was bound.
    virtual ~DaemonLocalSocket();
    DaemonLocalSocket(const DaemonLocalSocket&) = delete;
    DaemonLocalSocket& operator=(const DaemonLocalSocket&) = delete;

    /// True when the construction failed (path too long, no socket to be had).
    bool hasError() const;

    /// Binds and listens (mode 0660, group koraha where there is one). Replaces a socket file that
    /// nobody listens on; a live one of root never. False with the reason in the system log; may be
    /// tried again. Waits at most 5 seconds for another process that binds just then.
    bool serverBind();

    /// One bounded serving step: waits for requests and answers them, at most 5 seconds when
    /// nobody asks. True also when nobody asked; false when the step failed (the next may succeed),
    /// when nothing is bound and when no record is attached. No client holds it up. Never throws.
    bool serverListen();

  protected:
    void attach(Status* status);

  private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

/// The local socket that answers with the health record.
class KORAHA_EXPORT MonitordSocket : public DaemonLocalSocket {
  public:
    MonitordSocket(std::string path, unsigned int maxClients);
    ~MonitordSocket() override;

    /// The record to answer with; it stays the caller's and must outlive the server.
    void setStatus(Status* status);
};

}  // namespace KORA::HA::Daemon
