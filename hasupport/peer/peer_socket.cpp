// SPDX-License-Identifier: Apache-2.0
#include "hasupport/peer/peer_socket.h"

#include <net/if.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

#include "hasupport/kernel/interface_name.h"
#include "hasupport/net/device_towards.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr int onLinkHops = 255;
// How long the kernel keeps what a connection still had to send. Without a bound, a client that
// goes away in the middle leaves a dying connection for minutes: its host's resets do not carry the
// hop count that is required here, and are ignored.
constexpr int unsentMs = 2000;
constexpr int backlog = 128;  // a dropped knock is repeated after a second: too late for a probe

bool setOption(int fd, int level, int option, int value) {
    return ::setsockopt(fd, level, option, &value, sizeof value) == 0;
}

bool bindToDevice(int fd, const std::string& device) {
    return device.empty() || ::setsockopt(fd, SOL_SOCKET, SO_BINDTODEVICE, device.c_str(),
                                          static_cast<socklen_t>(device.size() + 1)) == 0;
}

sockaddr_storage withPort(const IpAddress& address, std::uint16_t port) {
    sockaddr_storage storage{};
    std::memcpy(&storage, address.data(), address.size());
    if (address.family() == AF_INET) {
        reinterpret_cast<sockaddr_in*>(&storage)->sin_port = htons(port);
    } else {
        reinterpret_cast<sockaddr_in6*>(&storage)->sin6_port = htons(port);
    }
    return storage;
}

bool sendFromLink(int fd, int family) {
    return family == AF_INET ? setOption(fd, IPPROTO_IP, IP_TTL, onLinkHops)
                             : setOption(fd, IPPROTO_IPV6, IPV6_UNICAST_HOPS, onLinkHops);
}

UniqueFd openSocket(const PeerRoute& route) {
    UniqueFd fd(::socket(route.local.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (fd &&
        (!bindToDevice(fd.get(), route.device) || !sendFromLink(fd.get(), route.local.family()))) {
        const int error = errno;
        fd.reset();
        errno = error;
    }
    return fd;
}

bool bindTo(int fd, const IpAddress& address, std::uint16_t port) {
    const sockaddr_storage storage = withPort(address, port);
    return ::bind(fd, reinterpret_cast<const sockaddr*>(&storage), address.size()) == 0;
}

bool prepareListener(int fd, const PeerRoute& route, std::uint16_t port) {
    const int family = route.local.family();
    setOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
    setOption(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, unsentMs);
    const bool free = family == AF_INET ? setOption(fd, IPPROTO_IP, IP_FREEBIND, 1)
                                        : setOption(fd, IPPROTO_IPV6, IPV6_V6ONLY, 1) &&
                                              setOption(fd, IPPROTO_IPV6, IPV6_FREEBIND, 1);
    return free && requireOnLink(fd, family) && bindTo(fd, route.local, port) &&
           ::listen(fd, backlog) == 0;
}

UniqueFd orNone(UniqueFd fd, bool good) {
    if (!good) {
        const int error = errno;
        fd.reset();
        errno = error;
    }
    return fd;
}

}  // namespace

std::optional<PeerRoute> planPeerRoute(const LinkAddresses& link, std::string& problem) {
    if (!isInterfaceName(link.interface)) {
        problem = "\"" + link.interface + "\" is no interface name";
        return std::nullopt;
    }
    const auto local = IpAddress::parse(link.local, link.interface);
    const auto remote = IpAddress::parse(link.remote, link.interface);
    if (!local || !remote || local->family() != remote->family()) {
        problem = "\"" + link.local + "\" and \"" + link.remote +
                  "\" are not two addresses of one family";
        return std::nullopt;
    }
    return PeerRoute{*local, *remote, deviceTowards(*remote, link.interface)};
}

UniqueFd listenForPeer(const PeerRoute& route, std::uint16_t port) {
    UniqueFd fd = openSocket(route);
    const bool good = fd && prepareListener(fd.get(), route, port);
    return orNone(std::move(fd), good);
}

UniqueFd connectToPeer(const PeerRoute& route, std::uint16_t port) {
    UniqueFd fd = openSocket(route);
    if (!fd) {
        return fd;
    }
    setOption(fd.get(), IPPROTO_IP, IP_BIND_ADDRESS_NO_PORT, 1);
    setOption(fd.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    const sockaddr_storage peer = withPort(route.remote, port);
    const bool good =
        bindTo(fd.get(), route.local, 0) &&
        (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&peer), route.remote.size()) == 0 ||
         errno == EINPROGRESS || errno == EINTR);
    return orNone(std::move(fd), good);
}

unsigned interfaceIndex(const UniqueFd& socket, const std::string& name) {
    if (!socket) {
        return ::if_nametoindex(name.c_str());
    }
    ifreq request{};
    name.copy(request.ifr_name, sizeof request.ifr_name - 1);
    return ::ioctl(socket.get(), SIOCGIFINDEX, &request) == 0
               ? static_cast<unsigned>(request.ifr_ifindex)
               : 0;
}

bool requireOnLink(int fd, int family) {
    return family == AF_INET ? setOption(fd, IPPROTO_IP, IP_MINTTL, onLinkHops)
                             : setOption(fd, IPPROTO_IPV6, IPV6_MINHOPCOUNT, onLinkHops);
}

}  // namespace KORA::HA::Daemon::support
