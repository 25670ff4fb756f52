// SPDX-License-Identifier: Apache-2.0
#include "tools/json_words.h"

#include "tools/health_reader.h"
#include "tools/json_view.h"

namespace korahamonctl {

const Json::Value& member(const Json::Value& object, const std::string& key) {
    return object.isObject() ? object[key] : Json::Value::nullSingleton();
}

bool isTrue(const Json::Value& value) {
    return value.isBool() && value.asBool();
}

bool hasItems(const Json::Value& list) {
    return list.isArray() && !list.empty();
}

std::string textOf(const Json::Value& value, const char* otherwise) {
    return textOf(JsonView(value).text(), otherwise);
}

std::string joined(const Json::Value& list) {
    return joined(namesFrom(JsonView(list)).value_or(Names()));
}

HealthRecord recordOf(const Json::Value& status) {
    return recordFrom(JsonView(status));
}

std::string roleOf(const Json::Value& status) {
    return roleOf(JsonView(status).member("active").flag());
}

const char* wordOf(const FlagWords& flag, const Json::Value& status) {
    return wordOf(flag, readingFrom(JsonView(status), flag.key));
}

Knowledge knowledgeOf(const Json::Value& status, const std::string& key, const Paces& paces) {
    return knowledgeOf(readingFrom(JsonView(status), key.c_str()), key, paces);
}

std::vector<Concern> concernsIn(const Json::Value& status, const Paces& paces) {
    return concernsIn(recordOf(status), paces);
}

}  // namespace korahamonctl
