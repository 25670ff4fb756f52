// SPDX-License-Identifier: Apache-2.0
#include "hasupport/net/ip_address.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <cstring>

#include "hasupport/io/unique_fd.h"

namespace KORA::HA::Daemon::support {
namespace {

constexpr std::uint32_t loopbackNet = 127;
constexpr unsigned netShift = 24;

bool needsScope(const in6_addr& address) {
    return IN6_IS_ADDR_LINKLOCAL(&address);
}

}  // namespace

std::optional<IpAddress> IpAddress::parse(const std::string& text, const std::string& interface) {
    IpAddress address;
    if (::inet_pton(AF_INET, text.c_str(), &address.v4_.sin_addr) == 1) {
        address.v4_.sin_family = AF_INET;
        address.v6_.sin6_family = AF_INET;
        return address;
    }
    const auto percent = text.find('%');
    if (::inet_pton(AF_INET6, text.substr(0, percent).c_str(), &address.v6_.sin6_addr) != 1) {
        return std::nullopt;
    }
    address.v6_.sin6_family = AF_INET6;
    if (needsScope(address.v6_.sin6_addr)) {
        const std::string zone =
            percent == std::string::npos ? interface : text.substr(percent + 1);
        address.v6_.sin6_scope_id = ::if_nametoindex(zone.c_str());
    } else if (percent != std::string::npos) {
        return std::nullopt;
    }
    return address;
}

std::optional<IpAddress> IpAddress::from(const sockaddr_storage& source) {
    IpAddress address;
    address.v6_.sin6_family = source.ss_family;
    if (source.ss_family == AF_INET) {
        std::memcpy(&address.v4_, &source, sizeof address.v4_);
    } else if (source.ss_family == AF_INET6) {
        std::memcpy(&address.v6_, &source, sizeof address.v6_);
    } else {
        return std::nullopt;
    }
    return address;
}

const sockaddr* IpAddress::data() const {
    // The socket calls take every address as its common beginning.
    // NOLINTBEGIN(cppcoreguidelines-pro-type-reinterpret-cast)
    return family() == AF_INET ? reinterpret_cast<const sockaddr*>(&v4_)
                               : reinterpret_cast<const sockaddr*>(&v6_);
    // NOLINTEND(cppcoreguidelines-pro-type-reinterpret-cast)
}

socklen_t IpAddress::size() const {
    return family() == AF_INET ? sizeof v4_ : sizeof v6_;
}

bool IpAddress::sameHost(const IpAddress& other) const {
    if (family() != other.family()) {
        return false;
    }
    if (family() == AF_INET) {
        return v4_.sin_addr.s_addr == other.v4_.sin_addr.s_addr;
    }
    const bool scopesMatch = v6_.sin6_scope_id == other.v6_.sin6_scope_id ||
                             v6_.sin6_scope_id == 0 || other.v6_.sin6_scope_id == 0;
    return scopesMatch &&
           std::memcmp(&v6_.sin6_addr, &other.v6_.sin6_addr, sizeof v6_.sin6_addr) == 0;
}

bool IpAddress::isOwn() const {
    if (family() == AF_INET && ntohl(v4_.sin_addr.s_addr) >> netShift == loopbackNet) {
        return true;
    }
    // Where this host would send from: to an address of its own, from that address. Nothing is
    // sent, and one look at the routes takes a tenth of a list of all addresses.
    const UniqueFd fd(::socket(family(), SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_storage source{};
    socklen_t length = sizeof source;
    if (!fd || ::connect(fd.get(), data(), size()) != 0 ||
        ::getsockname(fd.get(), reinterpret_cast<sockaddr*>(&source), &length) != 0) {
        return false;
    }
    const auto address = from(source);
    return address && sameHost(*address);
}

}  // namespace KORA::HA::Daemon::support
