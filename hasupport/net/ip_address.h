// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <optional>
#include <string>

namespace KORA::HA::Daemon::support {

/// An IPv4 or IPv6 address without a port, as the socket calls take it.
class IpAddress {
  public:
    /// Parses an address as numbers; names are never looked up. A link-local IPv6 address belongs
    /// to `interface` ("fe80::1%eth1" is taken too); without one it has scope 0.
    static std::optional<IpAddress> parse(const std::string& text, const std::string& interface);

    /// The address of a received packet; nothing when it is of another family.
    static std::optional<IpAddress> from(const sockaddr_storage& source);

    int family() const { return v6_.sin6_family; }
    const sockaddr* data() const;
    socklen_t size() const;

    /// Same host address; ports and, where one of them is unknown, scopes are not compared.
    bool sameHost(const IpAddress& other) const;

    /// True when this host itself owns the address, so that packets to it travel over lo.
    bool isOwn() const;

  private:
    IpAddress() = default;

    sockaddr_in v4_{};  // meaningful when v6_.sin6_family is AF_INET
    sockaddr_in6 v6_{};
};

}  // namespace KORA::HA::Daemon::support
