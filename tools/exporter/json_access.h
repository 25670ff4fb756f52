// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <json/value.h>

#include <string>

namespace korahamonctl {

/// A member of what may be no object; null where there is none.
inline const Json::Value& memberOf(const Json::Value& object, const std::string& key) {
    static const Json::Value none;
    return object.isObject() ? object[key] : none;
}

}  // namespace korahamonctl
