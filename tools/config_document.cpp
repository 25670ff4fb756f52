// SPDX-License-Identifier: Apache-2.0
#include "tools/config_document.h"

#include <json/reader.h>

#include <exception>

#include "tools/health_reader.h"
#include "tools/json_view.h"

namespace korahamonctl {

using KORA::HA::Daemon::ConfType;

std::optional<Json::Value> parseConfig(const std::string& text, std::string* problem) {
    std::string why;
    try {
        Json::Value document;
        Json::Reader reader;
        if (reader.parse(text, document, false)) {
            return document;
        }
        why = reader.getFormattedErrorMessages();
    } catch (const std::exception& e) {
        why = e.what();
    }
    if (problem != nullptr) {
        *problem = why;
    }
    return std::nullopt;
}

double settingIn(const Json::Value& document, ConfType type) {
    const std::string& key = KORA::HA::Daemon::configTable().at(type).first;
    return settingFrom(configuredFrom(JsonView(document).member(key.c_str())), type);
}

}  // namespace korahamonctl
