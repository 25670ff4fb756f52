// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "hasupport/io/unique_fd.h"
#include "hasupport/net/ip_address.h"
#include "hasupport/settings/link_addresses.h"

namespace KORA::HA::Daemon::support {

/// The two ends of the link, checked; what is wrong with them in `problem`.
struct PeerRoute {
    IpAddress local;
    IpAddress remote;
    std::string device;  ///< empty where the peer is this very host (tests): reached through lo
};
std::optional<PeerRoute> planPeerRoute(const LinkAddresses& link, std::string& problem);

/// A TCP socket that listens on the local replication address, only there and only for hosts on
/// the link itself: it takes the address before the interface has it, and no packet that has passed
/// a router. None, with errno set, when it cannot be had.
UniqueFd listenForPeer(const PeerRoute& route, std::uint16_t port);

/// A TCP socket from the local address on its way to the peer; wait until it is writable.
UniqueFd connectToPeer(const PeerRoute& route, std::uint16_t port);

/// The number of an interface, asked through `socket`, or through one of its own where there is
/// none; 0 when there is no such interface.
unsigned interfaceIndex(const UniqueFd& socket, const std::string& name);

/// Accepts only packets from the link from now on; for a client once it is connected.
bool requireOnLink(int fd, int family);

}  // namespace KORA::HA::Daemon::support
