// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/health_record.h"
#include "tools/setting_numbers.h"

// Reading from a parsed JSON document, of whichever library, by way of a view of a value:
//   View member(const char*) const       a view of nothing where there is none
//   std::optional<bool> flag() const, std::optional<double> number() const,
//   std::optional<std::string> text() const, bool isObject() const, bool isList() const
//   bool isNull() const                  null stands there, which is not the same as nothing
//   std::size_t size() const, View item(std::size_t) const    of a list
// Somebody else has put the document together: nothing is taken for granted.
namespace korahamonctl {

template <class View>
std::optional<Names> namesFrom(const View& list) {
    if (!list.isList()) {
        return std::nullopt;
    }
    Names names;
    names.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        names.push_back(list.item(i).text());
    }
    return names;
}

template <class View>
Reading readingFrom(const View& status, const char* key) {
    const View value = status.member(key);
    const View state = status.member("readings").member(key);
    Reading reading;
    if (const auto flag = value.flag()) {
        reading.value = *flag;
    } else if (const auto number = value.number()) {
        reading.value = *number;
    }
    reading.valid = state.member("valid").flag().value_or(false);
    reading.ageSeconds = state.member("ageSeconds").number();
    reading.reason = state.member("reason").text().value_or(std::string());
    return reading;
}

template <class View>
HealthRecord recordFrom(const View& status) {
    HealthRecord record;
    record.active = status.member("active").flag();
    for (std::size_t i = 0; i < readingKeys.size(); ++i) {
        record.readings.at(i) = readingFrom(status, readingKeys.at(i));
    }
    record.errHandlingDisks = namesFrom(status.member("errHandlingDisks"));
    record.errHandlingDisksRemote = namesFrom(status.member("errHandlingDisksRemote"));
    record.degradedArrays = namesFrom(status.member("degradedArrays"));
    record.constraints = namesFrom(status.member("constraints"));
    if (const View restart = status.member("lastRestart"); restart.isObject()) {
        record.lastRestart = {restart.member("outcome").text(), restart.member("reason").text(),
                              restart.member("agoSeconds").number()};
    }
    record.softwareVersion = status.member("softwareVersion").text();
    record.pid = status.member("pid").number();
    record.uptimeSeconds = status.member("uptimeSeconds").number();
    return record;
}

/// What a parsed configuration says of one setting.
template <class View>
Configured configuredFrom(const View& value) {
    if (auto text = value.text()) {
        return *std::move(text);
    }
    if (const auto flag = value.flag()) {
        return *flag ? 1.0 : 0.0;
    }
    const auto number = value.isNull() ? 0.0 : value.number();
    return number ? Configured(*number) : Configured();
}

}  // namespace korahamonctl
