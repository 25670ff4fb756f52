// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {

/// What binding needs besides the path itself; tests point it elsewhere.
struct SocketPlaces {
    std::string lockDirectory = "/run/koraha";
    std::string groupFile = "/etc/group";
    uid_t trustedUser = 0;  ///< whose live listener is never removed
};

/// A listening stream socket and its file. Used by one thread.
///
/// Binding replaces a socket file that nobody listens on, and one of an ordinary user, also where
/// its mode hides whether anybody listens; a live one of root and everything that is no socket
/// stay, and binding fails. The file has mode 0660, and group `koraha` where there is one.
class SocketPath {
  public:
    explicit SocketPath(std::string path, SocketPlaces places = {});
    /// Removes the file if it is still the one that was bound, then closes the socket.
    ~SocketPath();
    SocketPath(const SocketPath&) = delete;
    SocketPath& operator=(const SocketPath&) = delete;

    /// False when there can be no such socket: path too long or empty, no socket to be had.
    bool isUsable() const;

    /// Binds and listens; the reason of a failure goes to the system log, once per change. May be
    /// called again after a failure. Waits at most 5 seconds for another process that binds.
    bool bindAndListen();

    /// The listening socket, non-blocking; -1 before it is bound.
    int listener() const { return bound_ ? fd_.get() : -1; }

  private:
    bool bindLocked();
    bool rememberFile();

    std::string path_;
    SocketPlaces places_;
    UniqueFd fd_;
    bool bound_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;
};

}  // namespace KORA::HA::Daemon::support
