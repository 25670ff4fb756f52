// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace korahamonctl {

/// Decides under which names browsers may ask for the page: a foreign page whose name was made to
/// lead here must not read it.
class HostCheck {
  public:
    /// Only these names besides the own addresses and localhost.
    explicit HostCheck(const std::vector<std::string>& allowed);

    /// Whether a Host header names this server; `localAddress` is the one that the request came to.
    bool admitsHost(const std::string& header, const std::string& localAddress) const;
    /// The same for an Origin header, such as "http://localhost:18909".
    bool admitsOrigin(const std::string& header, const std::string& localAddress) const;

  private:
    std::vector<std::string> allowed_;
};

}  // namespace korahamonctl
