// SPDX-License-Identifier: Apache-2.0
#include "tools/status_words.h"

#include <algorithm>
#include <cstdio>

#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::size_t textLimit = 300;

}  // namespace

const char* wordOf(const FlagWords& flag, const Json::Value& status) {
    return isTrue(member(status, flag.key)) ? flag.whenTrue : flag.whenFalse;
}

std::string roleOf(const Json::Value& status) {
    const Json::Value& active = member(status, "active");
    return !active.isBool() ? "unknown" : active.asBool() ? "active" : "passive";
}

const Json::Value& member(const Json::Value& object, const std::string& key) {
    static const Json::Value none;
    return object.isObject() ? object[key] : none;
}

bool isTrue(const Json::Value& value) {
    return value.isBool() && value.asBool();
}

bool hasItems(const Json::Value& list) {
    return list.isArray() && !list.empty();
}

std::string textOf(const Json::Value& value, const char* otherwise) {
    return value.isString() ? visible(value.asString(), textLimit) : otherwise;
}

std::string joined(const Json::Value& list) {
    std::string text;
    for (Json::ArrayIndex i = 0; i < std::min(list.size(), shownItems); ++i) {
        text += (i == 0 ? "" : ", ") + textOf(list[i], "?");
    }
    return list.size() <= shownItems ? text : text + ", " + moreOf(list);
}

std::string moreOf(const Json::Value& list) {
    return "and " + std::to_string(list.size() - shownItems) + " more";
}

std::string formatted(const char* form, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, value);
    return text.data();
}

}  // namespace korahamonctl
