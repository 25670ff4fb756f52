// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <algorithm>
#include <charconv>

namespace korahamonctl {
namespace {

constexpr int highestPort = 65535;

bool isVersion6(const std::string& text) {
    in6_addr address{};
    return ::inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isVersion4(const std::string& text) {
    in_addr address{};
    return ::inet_pton(AF_INET, text.c_str(), &address) == 1;
}

std::optional<int> portFrom(const std::string& text) {
    int port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port < 0 ||
        port > highestPort) {
        return std::nullopt;
    }
    return port;
}

}  // namespace

bool isAddress(const std::string& text) {
    return text.find('\0') == std::string::npos && (isVersion4(text) || isVersion6(text));
}

std::string inUrl(const std::string& address) {
    return isVersion6(address) ? "[" + address + "]" : address;
}

std::optional<ListenAddress> listenAddressFrom(const std::string& text) {
    const auto colon = text.rfind(':');
    if (colon == std::string::npos) {
        return std::nullopt;
    }
    const auto port = portFrom(text.substr(colon + 1));
    std::string host = text.substr(0, colon);
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (bracketed) {
        host = host.substr(1, host.size() - 2);
    }
    if (!port || !isAddress(host) || bracketed != isVersion6(host)) {
        return std::nullopt;
    }
    return ListenAddress{host, *port};
}

}  // namespace korahamonctl
