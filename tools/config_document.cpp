// SPDX-License-Identifier: Apache-2.0
#include "tools/config_document.h"

#include <json/reader.h>

#include <exception>

#include "config/number_text.h"

namespace korahamonctl {

using KORA::HA::Daemon::ConfType;

std::optional<double> numberIn(ConfType type, const std::string& text) {
    if (isReal(type)) {
        return KORA::HA::Daemon::floatFromText(text);
    }
    return KORA::HA::Daemon::intFromText(text);
}

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

bool isReal(ConfType type) {
    return type == KORA::HA::Daemon::THR_OF_HB_LATENCY ||
           type == KORA::HA::Daemon::THR_OF_HB_PKT_DROP;
}

double settingIn(const Json::Value& document, ConfType type) {
    const auto& [key, defaultText] = KORA::HA::Daemon::configTable().at(type);
    const double fallback = numberIn(type, defaultText).value_or(0);
    const Json::Value value = document.isObject() ? document[key] : Json::Value();
    if (value.isString()) {
        return numberIn(type, value.asString()).value_or(fallback);
    }
    if (!value.isNumeric() || (!isReal(type) && !value.isConvertibleTo(Json::intValue))) {
        return fallback;
    }
    return isReal(type) ? value.asDouble() : value.asInt();
}

}  // namespace korahamonctl
