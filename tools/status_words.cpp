// SPDX-License-Identifier: Apache-2.0
#include "tools/status_words.h"

#include <algorithm>
#include <cstdio>

#include "tools/visible.h"

namespace korahamonctl {
namespace {

constexpr std::size_t textLimit = 300;

}  // namespace

const char* wordOf(const FlagWords& flag, const Reading& reading) {
    return flagOf(reading).value_or(false) ? flag.whenTrue : flag.whenFalse;
}

std::string roleOf(const std::optional<bool>& active) {
    return !active ? "unknown" : *active ? "active" : "passive";
}

std::string textOf(const std::optional<std::string>& text, const char* otherwise) {
    return text ? visible(*text, textLimit) : otherwise;
}

std::string joined(const Names& names) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), shownItems); ++i) {
        text += (i == 0 ? "" : ", ") + textOf(names[i], "?");
    }
    return names.size() <= shownItems ? text : text + ", " + moreOf(names.size());
}

std::string moreOf(std::size_t items) {
    return "and " + std::to_string(items - shownItems) + " more";
}

std::string formatted(const char* form, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), form, value);
    return text.data();
}

}  // namespace korahamonctl
