// SPDX-License-Identifier: Apache-2.0
#include "tools/configured_paces.h"

#include "hasupport/io/read_file.h"
#include "tools/config_document.h"

namespace korahamonctl {

Criteria criteriaFrom(const std::string& configuration) {
    const Json::Value document = parseConfig(configuration).value_or(Json::objectValue);
    return criteriaBy([&](KORA::HA::Daemon::ConfType type) { return settingIn(document, type); });
}

Paces pacesFrom(const std::string& configuration) {
    return criteriaFrom(configuration).paces;
}

Paces pacesOfFile(const std::string& path) {
    return pacesFrom(KORA::HA::Daemon::support::readFile(path).value_or(std::string()));
}

}  // namespace korahamonctl
