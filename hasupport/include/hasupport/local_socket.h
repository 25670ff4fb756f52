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
    /// Prepares a server on `path` that serves at most `maxClients` connections at once.
    DaemonLocalSocket(std::string path, unsigned int maxClients);
    /// Closes the socket and removes its file if it is still the one that was bound.
    virtual ~DaemonLocalSocket();
    DaemonLocalSocket(const DaemonLocalSocket&) = delete;
    DaemonLocalSocket& operator=(const DaemonLocalSocket&) = delete;

    /// True when the construction failed (path too long, no socket to be had).
    bool hasError() const;

    /// Binds and listens. Replaces a socket file that nobody listens on; a live one of root never.
    bool serverBind();

    /// One bounded serving step: waits for requests and answers them, at most 5 seconds when
    /// nobody asks. True also when nobody asked; false when the step failed (the next may succeed).
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

    /// The record to answer with; must outlive the server.
    void setStatus(Status* status);
};

}  // namespace KORA::HA::Daemon
