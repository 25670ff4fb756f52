// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/finding.h"

namespace korahamonctl::doctor {

std::optional<int> Node::pid() const {
    if (!answer.status || !(*answer.status)["pid"].isInt() || (*answer.status)["pid"].asInt() < 1) {
        return std::nullopt;
    }
    return (*answer.status)["pid"].asInt();
}

std::string Node::procPath(const std::string& name) const {
    const auto number = pid();
    return path("/proc/" + (number ? std::to_string(*number) : "self") + "/" + name);
}

}  // namespace korahamonctl::doctor
