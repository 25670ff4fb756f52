// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace korahamonctl {

/// Where to serve.
struct ListenAddress {
    std::string host;  ///< an address of version 4 or 6, without brackets
    int port = 0;      ///< 0: any that is free
};

/// "127.0.0.1:18909" or "[::1]:18909"; nothing for everything else, names included.
std::optional<ListenAddress> listenAddressFrom(const std::string& text);

/// An address as it stands in a URL or a Host header: in brackets when it is of version 6.
std::string inUrl(const std::string& address);

/// Whether a text is an address of version 4 or 6.
bool isAddress(const std::string& text);

}  // namespace korahamonctl
