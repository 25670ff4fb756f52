// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>
#include <sys/un.h>

#include <cstdint>
#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

/// What stands at a path where a socket is to be bound.
struct SocketOccupant {
    enum class Kind : std::uint8_t {
        nothing,
        stale,    ///< a socket file that nobody listens on
        live,     ///< a socket that someone listens on
        closed,   ///< a socket that this process may not connect to; perhaps someone listens
        foreign,  ///< something else, or it could not be found out
    };
    Kind kind = Kind::foreign;
    uid_t user = 0;  ///< of a live one: who listens; of a closed one: whose file it is
};

/// The address of a path, or nothing when the path is empty, too long or contains a NUL.
std::optional<sockaddr_un> socketAddress(const std::string& path);

/// Looks, without following links and without blocking. A refused connection alone proves a socket
/// stale.
SocketOccupant lookAtSocket(const std::string& path, const sockaddr_un& address);

}  // namespace KORA::HA::Daemon::support
