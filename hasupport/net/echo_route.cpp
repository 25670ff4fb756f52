// SPDX-License-Identifier: Apache-2.0
#include "hasupport/kernel/interface_name.h"
#include "hasupport/net/device_towards.h"
#include "hasupport/net/echo_socket.h"

namespace KORA::HA::Daemon::support {

std::optional<EchoRoute> planRoute(const LinkAddresses& link, EchoProblem& problem) {
    problem.lasting = true;
    if (!isInterfaceName(link.interface)) {
        problem.reason = "\"" + link.interface + "\" is no interface name";
        return std::nullopt;
    }
    const auto local = IpAddress::parse(link.local, link.interface);
    if (!local) {
        problem.reason = "local address \"" + link.local + "\" is no IP address";
        return std::nullopt;
    }
    const auto remote = IpAddress::parse(link.remote, link.interface);
    if (!remote) {
        problem.reason = "remote address \"" + link.remote + "\" is no IP address";
        return std::nullopt;
    }
    if (local->family() != remote->family()) {
        problem.reason = "local and remote address are of different families";
        return std::nullopt;
    }
    return EchoRoute{*local, *remote, deviceTowards(*remote, link.interface)};
}

}  // namespace KORA::HA::Daemon::support
