// SPDX-License-Identifier: Apache-2.0
#include "tools/exporter/host_check.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "tools/exporter/listen_address.h"

namespace korahamonctl {
namespace {

constexpr std::string_view mapped = "::ffff:";  // a client of version 4 at a socket of version 6

std::string lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool isPort(std::string_view text) {
    return !text.empty() && text.size() <= 5 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// The name in "name", "name:port", "[address]" or "[address]:port"; nothing in anything else.
std::string nameIn(const std::string& header) {
    const auto end = header.starts_with('[') ? header.find(']') : std::string::npos;
    const auto colon = header.find(':', end == std::string::npos ? 0 : end);
    if (colon != std::string::npos && !isPort(std::string_view(header).substr(colon + 1))) {
        return {};
    }
    const std::string name = header.substr(0, colon);
    return end == std::string::npos || end + 1 == name.size() ? lower(name) : "";
}

}  // namespace

HostCheck::HostCheck(const std::vector<std::string>& allowed) {
    for (const std::string& name : allowed) {
        allowed_.push_back(lower(inUrl(name)));
    }
}

bool HostCheck::admitsHost(const std::string& header, const std::string& localAddress) const {
    const std::string name = nameIn(header);
    const std::string local =
        localAddress.starts_with(mapped) ? localAddress.substr(mapped.size()) : localAddress;
    return !name.empty() && (name == "localhost" || name == lower(inUrl(local)) ||
                             std::find(allowed_.begin(), allowed_.end(), name) != allowed_.end());
}

bool HostCheck::admitsOrigin(const std::string& header, const std::string& localAddress) const {
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (header.starts_with(scheme)) {
            return admitsHost(header.substr(scheme.size()), localAddress);
        }
    }
    return false;
}

}  // namespace korahamonctl
